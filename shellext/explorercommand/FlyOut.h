// FlyOut: the product's entry in Explorer's own menu, with the agent's commands in it.
#pragma once

#include "shellext/explorercommand/CommandEnumerator.h"
#include "shellext/explorercommand/ExplorerCommand.h"

namespace veskard {

/// Shown when at least one of its children is. There are always the same four children, in
/// the order of the classic menu; those that the classic menu does not have are hidden.
class FlyOut final : public ExplorerCommand {
 public:
  /// Throws std::bad_alloc only.
  FlyOut();

  /// E_NOTIMPL: choosing the fly-out only opens it.
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
