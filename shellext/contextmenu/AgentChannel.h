// The channel to the agent: one command for one selection, sent in the background.
#pragma once

#include <windows.h>

#include <cstdint>

#include "shellext/contextmenu/AgentAction.h"
#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// Builds the messages for the first `itemCount` of the `items` and passes them
/// to a detached sender thread; returns at once. S_OK when the command was passed on,
/// and also when no agent runs and none may be started (the command is then dropped). Throws std::bad_alloc,
/// and std::system_error when the system refuses the thread.
HRESULT SendAgentCommand(const PathList& items, uint32_t itemCount, AgentAction action);

}  // namespace veskard
