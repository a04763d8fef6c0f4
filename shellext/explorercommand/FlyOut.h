// FlyOut: the product's entry in Explorer's own menu, with the agent's commands in it.
#pragma once

#include "shellext/explorercommand/CommandEnumerator.h"
#include "shellext/explorercommand/ExplorerCommand.h"

namespace veskard {

/// Shown where one of its children is. The children are always the same four, in the order
/// of the menu behind IContextMenu, hidden where that menu would not have them.
class FlyOut final : public ExplorerCommand {
 public:
  /// Throws std::bad_alloc only.
  FlyOut();

  /// E_NOTIMPL: there is nothing to do.
  STDMETHODIMP Invoke(IShellItemArray* selection, IBindCtx* context) noexcept override;

  /// ECF_HASSUBCOMMANDS.
  STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) noexcept override;

  /// New children; they share this fly-out's snapshot and may outlive it.
  STDMETHODIMP EnumSubCommands(IEnumExplorerCommand** children) noexcept override;

 private:
  EXPCMDSTATE StateIn(const MenuItems& items) const noexcept override;
  CommandEnumerator::Commands NewChildren() const;

  const LogSwitchReader logSwitch_;
};

}  // namespace veskard
