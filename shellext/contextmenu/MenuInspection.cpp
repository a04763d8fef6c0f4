#include "shellext/contextmenu/MenuInspection.h"

#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/MenuSelection.h"
#include "shellext/module/Log.h"

namespace veskard {
namespace {

void LogNoItems(const MenuSelection& selection) noexcept {
  Log(L"Selective Sync: inSyncFolder(%d) isSelectiveFolder(%d) isOwner(%d)", selection.inSyncFolder,
      selection.isSelective, selection.isOwner);
}

}  // namespace

void PrepareMenus() {
  LoadMenuTexts();
  if (CurrentAgentScope() == AgentScope::kUnset) SetAgentScope(AgentScope::kService);
}

bool IsAgentInReach() {
  const AgentScope scope = CurrentAgentScope();
  return scope == AgentScope::kUser || !GetAgentPipeName(scope).empty();
}

void LogNoAgentInReach() noexcept {
  Log(L"Context menu: menu will not be shown. No pipe and scope isn't USER");
}

MenuItems InspectForMenu(const PathList& items) {
  const MenuSelection selection = InspectSelection(items);
  if (!selection.InOwnSelectiveFolder()) LogNoItems(selection);
  return DecideMenuItems(selection);
}

void LogAddedCommand(const MenuCommand& command) noexcept {
  Log(command.addedLine);
}

}  // namespace veskard
