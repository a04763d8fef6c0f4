#include "shellext/contextmenu/AgentChannel.h"

#include <string>
#include <utility>

#include "shellext/contextmenu/AgentMessages.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/AgentSender.h"

namespace veskard {

HRESULT SendAgentCommand(const PathList& items, uint32_t itemCount, AgentAction action) {
  const AgentScope scope = CurrentAgentScope();
  std::wstring pipeName = GetAgentPipeName(scope);
  if (pipeName.empty() && scope != AgentScope::kUser) return S_OK;
  StartAgentSender(std::move(pipeName), BuildCommandBatch(items, itemCount, action));
  return S_OK;
}

}  // namespace veskard
