// The agent's presence: which agent the commands go to, and whether it is there.
#pragma once

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

AgentScope CurrentAgentScope() noexcept;
void SetAgentScope(AgentScope scope) noexcept;

/// The pipe of the agent that `scope` allows and whose mutex exists; empty when no agent
/// runs, and for a number that is not an AgentScope. Only the mutexes of
/// agents that the scope allows are looked for. Throws std::bad_alloc only.
std::wstring GetAgentPipeName(AgentScope scope);

/// Whether the named mutex exists.
bool IsMutexPresent(const std::wstring& name) noexcept;

}  // namespace veskard
