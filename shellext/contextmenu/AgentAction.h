// AgentAction: the commands of the agent.
#pragma once

#include <cstdint>

namespace veskard {

/// The request to the agent: the integer in a message's "action".
enum class AgentAction : int32_t {
  kSyncToThisDevice = 3,
  kCancelReceiving = 4,
  kRemoveFromThisDevice = 5,
  kRemoveFromAllDevices = 6,
  kShare = 7,
};

}  // namespace veskard
