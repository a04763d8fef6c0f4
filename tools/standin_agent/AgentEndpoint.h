// The names by which an agent is found. They are repeated here, not included from the
// extension, so that a mistake on one side fails a test.
#pragma once

namespace veskard {

enum class AgentKind { kService, kUser };

struct AgentEndpoint {
  const char* title;
  const wchar_t* mutex;  // held while the pipe is open: "an agent is there"
  const wchar_t* pipe;   // message mode, clients only write
};

// clang-format off
inline constexpr AgentEndpoint kServiceEndpoint = {"service agent",  L"Global\\pipesynccmd_SIT", LR"(\\.\pipe\syncsvccmd_SIT)"};
inline constexpr AgentEndpoint kUserEndpoint    = {"per-user agent", L"Local\\pipesynccmd_SIT",  LR"(\\.\pipe\synccmd_SIT)"};
// clang-format on

constexpr const AgentEndpoint& EndpointOf(AgentKind kind) noexcept {
  return kind == AgentKind::kUser ? kUserEndpoint : kServiceEndpoint;
}

}  // namespace veskard
