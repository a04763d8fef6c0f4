#include "shellext/contextmenu/AgentChannel.h"

#include <atomic>
#include <utility>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentMessages.h"
#include "shellext/contextmenu/AgentSender.h"

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

HRESULT SendAgentCommand(HDROP drop, uint32_t itemCount, AgentAction action) {
  const AgentScope scope = CurrentAgentScope();
  std::wstring pipeName = GetAgentPipeName(scope);
  if (pipeName.empty() && scope != AgentScope::kUser) return S_OK;
  StartAgentSender(std::move(pipeName), BuildCommandBatch(drop, itemCount, action));
  return S_OK;
}

}  // namespace veskard
