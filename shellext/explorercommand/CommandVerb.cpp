#include "shellext/explorercommand/CommandVerb.h"

#include <algorithm>
#include <utility>

#include "shellext/contextmenu/AgentChannel.h"
#include "shellext/explorercommand/ShellItemPaths.h"
#include "shellext/module/ComBoundary.h"

namespace veskard {
namespace {

CommandFace FaceOf(const MenuCommand& command, const GUID& canonicalName) noexcept {
  return {command.wideText.c_str(), kMenuIcons[command.icon].resourceId, canonicalName};
}

}  // namespace

CommandVerb::CommandVerb(const MenuCommand& command, const GUID& canonicalName,
                         std::shared_ptr<MenuSnapshot> snapshot) noexcept
    : ExplorerCommand(FaceOf(command, canonicalName), std::move(snapshot)), command_(command) {}

STDMETHODIMP CommandVerb::Invoke(IShellItemArray* selection, IBindCtx*) noexcept {
  // Reading the selection may run the host's code, which may release both.
  const UniqueCom<IExplorerCommand> self = HoldCom<IExplorerCommand>(this);
  const UniqueCom<IShellItemArray> held = HoldCom(selection);
  return ComBoundary([&]() -> HRESULT {
    const ShellItemPaths paths(selection);
    if (paths.Count() == 0) return S_OK;
    return SendAgentCommand(paths, paths.Count(), command_.action);
  });
}

STDMETHODIMP CommandVerb::GetFlags(EXPCMDFLAGS* flags) noexcept {
  if (flags == nullptr) return E_POINTER;
  *flags = ECF_DEFAULT;
  return S_OK;
}

STDMETHODIMP CommandVerb::EnumSubCommands(IEnumExplorerCommand** children) noexcept {
  if (children == nullptr) return E_POINTER;
  *children = nullptr;
  return E_NOTIMPL;
}

EXPCMDSTATE CommandVerb::StateIn(const MenuItems& items) const noexcept {
  const auto* const found = std::find_if(
      items.begin(), items.end(), [&](const MenuItem& item) { return item.command == command_.offset; });
  if (found == items.end()) return ECS_HIDDEN;
  return found->greyed ? ECS_DISABLED : ECS_ENABLED;
}

}  // namespace veskard
