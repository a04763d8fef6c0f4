// The preparation that both menus share: the one behind IContextMenu and Explorer's own.
// It also writes the lines of the log.
#pragma once

#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/contextmenu/MenuDecision.h"
#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// Loads the commands' texts and sets the agent's scope, where that is not done yet. Every
/// menu's object calls it. Throws std::bad_alloc only.
void PrepareMenus();

/// Whether a command can be sent: an agent runs, or one may be started.
/// Throws std::bad_alloc only.
bool IsAgentInReach();

/// Writes the log's line for a menu that is refused because no agent runs.
void LogNoAgentInReach() noexcept;

/// The items of the menu for a selection, by the marks on the disk. Throws
/// std::bad_alloc only.
MenuItems InspectForMenu(const PathList& items);

/// Writes the log's line for one item that is shown.
void LogAddedCommand(const MenuCommand& command) noexcept;

}  // namespace veskard
