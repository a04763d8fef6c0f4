#include "shellext/contextmenu/AgentPresence.h"

#include <atomic>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

constinit std::atomic<AgentScope> currentScope = AgentScope::kUnset;

}  // namespace

AgentScope CurrentAgentScope() noexcept {
  return currentScope;
}

void SetAgentScope(AgentScope scope) noexcept {
  currentScope = scope;
}

std::wstring GetAgentPipeName(AgentScope scope) {
  if (scope != AgentScope::kService && IsMutexPresent(kUserAgent.mutex)) return kUserAgent.pipe;
  if (scope != AgentScope::kUser && IsMutexPresent(kServiceAgent.mutex)) return kServiceAgent.pipe;
  return {};
}

bool IsMutexPresent(const std::wstring& name) noexcept {
  return static_cast<bool>(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, name.c_str())));
}

}  // namespace veskard
