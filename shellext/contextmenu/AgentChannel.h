// The channel to the agent: its presence, its pipe, and the commands sent to it.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>

#include <cstdint>
#include <string>

namespace veskard {

/// Which agent the commands go to; one process-wide value.
enum class AgentScope : uint32_t { kUnset = 0, kUser = 1, kService = 2 };

/// How an agent is found: it holds the mutex for as long as its pipe is open.
struct AgentNames {
  const wchar_t* mutex;
  const wchar_t* pipe;
};
inline constexpr AgentNames kUserAgent = {L"Local\\pipesynccmd_SIT", L"\\\\.\\pipe\\synccmd_SIT"};
inline constexpr AgentNames kServiceAgent = {L"Global\\pipesynccmd_SIT", L"\\\\.\\pipe\\syncsvccmd_SIT"};

/// What the agent is asked to do; the integer in a message's "action".
enum class AgentAction : int32_t {
  kSyncToThisDevice = 3,
  kCancelReceiving = 4,
  kRemoveFromThisDevice = 5,
  kRemoveFromAllDevices = 6,
  kShare = 7,
};

AgentScope CurrentAgentScope() noexcept;
void SetAgentScope(AgentScope scope) noexcept;

/// The pipe of the agent that `scope` allows and whose mutex is there; empty
/// when no agent is. Throws std::bad_alloc only.
std::wstring GetAgentPipeName(AgentScope scope);

/// Whether the named mutex exists.
bool IsMutexPresent(const std::wstring& name) noexcept;

/// Builds the messages for the first `itemCount` items of `drop` and hands them
/// to a detached sender thread; returns at once. S_OK when the command was handed
/// over, and also when no agent is there and none may be started (the command is
/// then dropped). Throws std::bad_alloc, and std::system_error when the system
/// refuses the thread.
HRESULT SendAgentCommand(HDROP drop, uint32_t itemCount, AgentAction action);

}  // namespace veskard
