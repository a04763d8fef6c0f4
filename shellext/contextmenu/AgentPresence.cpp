#include "shellext/contextmenu/AgentPresence.h"

#include <atomic>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

constinit std::atomic<AgentScope> currentScope = AgentScope::kUnset;

// Formulas, so that a scope beyond the three known ones has an answer too: no agent.
constexpr bool AllowsUserAgent(AgentScope scope) noexcept {
  return static_cast<uint32_t>(scope) < 2;
}
constexpr bool AllowsServiceAgent(AgentScope scope) noexcept {
  const auto number = static_cast<uint32_t>(scope);
  return (number & 2) >= number;
}

}  // namespace

AgentScope CurrentAgentScope() noexcept {
  return currentScope;
}

void SetAgentScope(AgentScope scope) noexcept {
  currentScope = scope;
}

std::wstring GetAgentPipeName(AgentScope scope) {
  if (AllowsUserAgent(scope) && IsMutexPresent(kUserAgent.mutex)) return kUserAgent.pipe;
  if (AllowsServiceAgent(scope) && IsMutexPresent(kServiceAgent.mutex)) return kServiceAgent.pipe;
  return {};
}

bool IsMutexPresent(const std::wstring& name) noexcept {
  return static_cast<bool>(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, name.c_str())));
}

}  // namespace veskard
