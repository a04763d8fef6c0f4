// What both menus do before they show anything: the one behind IContextMenu and the
// Explorer's own. The lines of the log are written here, too.
#pragma once

#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/contextmenu/MenuDecision.h"
#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// Loads the commands' texts and sets the agent's scope, where that is not done yet. Every
/// menu's object calls it. Throws std::bad_alloc only.
void PrepareMenus();

/// Whether a command would have an agent to go to: there is one, or one may be started.
/// Throws std::bad_alloc only.
bool IsAgentInReach();

/// Called where it is not, and there is no menu therefore.
void LogNoAgentInReach() noexcept;

/// The items of the menu for a selection, by what the disk says of it. Throws
/// std::bad_alloc only.
MenuItems InspectForMenu(const PathList& items);

/// Called for each item that is shown.
void LogAddedCommand(const MenuCommand& command) noexcept;

}  // namespace veskard
