// The messages that carry one command to the agent.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "benc/BencValue.h"
#include "shellext/contextmenu/AgentAction.h"
#include "shellext/contextmenu/PathList.h"
#include "shellext/contextmenu/UniversalNames.h"

namespace veskard {

/// The messages of one command, in the order in which they are sent; it passes
/// from the shell's thread to the sender's.
///
///     one for each item      {"action": 3..6, "path": bytes[, "last": 1]}
///     one for the selection  {"action": 7, "files": [bytes, ...], "last": 1}
///
/// Only the last message of a batch has "last", so that the agent can act on the
/// batch as a whole. Paths are UTF-8.
using CommandBatch = std::deque<std::unique_ptr<BencodedDict>>;

/// The batch for the first `itemCount` items of a selection, an item missing from the
/// list being sent as an empty path. For no item sharing makes one message, the other
/// actions none. Throws std::bad_alloc only.
CommandBatch BuildCommandBatch(const PathList& items, uint32_t itemCount, AgentAction action,
                               UniversalNames names = UniversalNames());

}  // namespace veskard
