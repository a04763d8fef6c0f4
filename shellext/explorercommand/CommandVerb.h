// CommandVerb: one of the agent's commands, as a child of the fly-out.
#pragma once

#include <memory>

#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/explorercommand/ExplorerCommand.h"

namespace veskard {

/// Shown, greyed or hidden as the same command in the menu behind IContextMenu is.
class CommandVerb final : public ExplorerCommand {
 public:
  /// `command` is one of MenuCommands(), with its texts loaded. Nothing throws.
  CommandVerb(const MenuCommand& command, const GUID& canonicalName,
              std::shared_ptr<MenuSnapshot> snapshot) noexcept;

  /// Hands the command for `selection` to a sender thread and returns at once: S_OK, agent or
  /// not, and whatever the command's state is. Needs no GetState before it. The selection is
  /// read on this thread and not used after the call. One without paths sends nothing.
  STDMETHODIMP Invoke(IShellItemArray* selection, IBindCtx* context) noexcept override;

  /// ECF_DEFAULT.
  STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) noexcept override;

  /// E_NOTIMPL.
  STDMETHODIMP EnumSubCommands(IEnumExplorerCommand** children) noexcept override;

 private:
  EXPCMDSTATE StateIn(const MenuItems& items) const noexcept override;

  const MenuCommand& command_;
};

}  // namespace veskard
