// The reasons why the menu has a command or lacks it.
#pragma once

#include <string>
#include <vector>

#include "shellext/contextmenu/MenuDecision.h"

namespace veskard {

enum class CommandState { kShown, kGreyed, kHidden };

struct CommandVerdict {
  CommandOffset command;
  CommandState state;
  std::string reason;  // one line, without a full stop
};

/// The four commands that a menu can have, in its order. The state is what the
/// library decides; the reason names the rule behind it.
std::vector<CommandVerdict> ExplainCommands(const MenuSelection& selection);

/// "shown", "greyed", "hidden".
const char* StateName(CommandState state) noexcept;

}  // namespace veskard
