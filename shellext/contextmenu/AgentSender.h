// The sender: the detached thread that writes one command to the agent's pipe.
#pragma once

#include <string>

#include "shellext/contextmenu/AgentMessages.h"

namespace veskard {

/// Starts a thread that runs AgentSenderThread and returns at once. The thread
/// holds its own reference to this module, so a host may unload the library
/// while it runs. Throws std::system_error when the system refuses the thread
/// (nothing is sent then), and std::bad_alloc.
void StartAgentSender(std::wstring pipeName, CommandBatch batch);

/// Starts the user's agent and waits for its pipe when `pipeName` is empty, then
/// writes the batch. A pipe that does not appear, cannot be opened or cannot be set
/// up drops the batch; a failed write loses that message only. Nothing is reported.
/// A pipe that the agent does not read holds the thread until the agent ends. Throws
/// std::bad_alloc only.
void AgentSenderThread(std::wstring pipeName, CommandBatch batch);

}  // namespace veskard
