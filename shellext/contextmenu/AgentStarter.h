// Starting the per-user agent and waiting for its pipe.
#pragma once

#include <string>

namespace veskard {

/// The folder that the agent's installer recorded for the current user, of at most 129
/// characters; empty when there is none, when it is longer, or when it is not a REG_SZ.
std::wstring ReadAgentLocation();

/// Starts the agent that is installed for the current user and waits for its
/// pipe, about thirty seconds at most. The pipe's name; empty when no agent is
/// installed, it cannot be started, or its pipe does not appear. Throws
/// std::bad_alloc only.
std::wstring StartUserAgent();

}  // namespace veskard
