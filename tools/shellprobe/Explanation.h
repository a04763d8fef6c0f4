// Explanation: why a selection gets the menu that it gets.
#pragma once

#include <string>
#include <vector>

#include "tools/shellprobe/CommandReasons.h"
#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

struct Explanation {
  Report report;                         // the findings, from registration to agent
  std::vector<CommandVerdict> commands;  // the result in the classic menu
  /// In the first menu of Windows 11; empty where Windows has none.
  std::vector<CommandVerdict> firstMenu;

  /// Whether a right-click shows any of the commands, in either menu.
  bool HasMenu() const;
};

/// Checks registration, folder, items, agent and commands with the library's own code.
/// Writes nothing, opens no log and reads no check file. COM must be initialised. Throws std::bad_alloc only.
Explanation ExplainSelection(const std::vector<std::wstring>& paths, const Machine& machine = ReadMachine());

}  // namespace veskard
