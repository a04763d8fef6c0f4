// CommandVerb: one of the agent's commands, as a child of the fly-out.
#pragma once

#include <memory>

#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/explorercommand/ExplorerCommand.h"

namespace veskard {

/// Shown, greyed or hidden as the same command is in the classic menu.
class CommandVerb final : public ExplorerCommand {
 public:
  /// `command` is one of MenuCommands(), with its texts loaded. Nothing throws.
  CommandVerb(const MenuCommand& command, const GUID& canonicalName,
              std::shared_ptr<MenuSnapshot> snapshot) noexcept;

  /// Passes the command for `selection` to a sender thread and returns at once: S_OK with and
  /// without an agent, whatever the command's state is. Needs no GetState before it. Reads the
  /// selection on this thread and does not use it after the call. Sends nothing for a selection
  /// without paths. Fails as SendAgentCommand does (AgentChannel.h).
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
