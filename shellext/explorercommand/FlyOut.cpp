#include "shellext/explorercommand/FlyOut.h"

#include <memory>
#include <utility>

#include "core/Product.h"
#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/contextmenu/MenuInspection.h"
#include "shellext/explorercommand/CommandNames.h"
#include "shellext/explorercommand/CommandVerb.h"
#include "shellext/module/ComBoundary.h"

namespace veskard {

FlyOut::FlyOut()
    : ExplorerCommand({kAgentName, kFlyOutPicture, kFlyOutName}, std::make_shared<MenuSnapshot>()) {
  PrepareMenus();
}

STDMETHODIMP FlyOut::Invoke(IShellItemArray*, IBindCtx*) noexcept {
  return E_NOTIMPL;
}

STDMETHODIMP FlyOut::GetFlags(EXPCMDFLAGS* flags) noexcept {
  if (flags == nullptr) return E_POINTER;
  *flags = ECF_HASSUBCOMMANDS;
  return S_OK;
}

STDMETHODIMP FlyOut::EnumSubCommands(IEnumExplorerCommand** children) noexcept {
  if (children == nullptr) return E_POINTER;
  *children = nullptr;
  return ComBoundary([&] {
    auto commands = std::make_shared<const CommandEnumerator::Commands>(NewChildren());
    // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): ComBoundary handles it
    *children = HoldCom<IEnumExplorerCommand>(new CommandEnumerator(std::move(commands))).Release();
    return S_OK;
  });
}

EXPCMDSTATE FlyOut::StateIn(const MenuItems& items) const noexcept {
  return items.size() == 0 ? ECS_HIDDEN : ECS_ENABLED;
}

CommandEnumerator::Commands FlyOut::NewChildren() const {
  CommandEnumerator::Commands children;
  children.reserve(kCommandNames.size());
  for (const CommandName& name : kCommandNames) {
    auto child = std::make_unique<CommandVerb>(MenuCommandAt(name.command), name.canonicalName, Snapshot());
    children.push_back(HoldCom<IExplorerCommand>(child.release()));
  }
  return children;
}

}  // namespace veskard
