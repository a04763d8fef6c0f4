// Explanation: why a selection gets the menu that it gets.
#pragma once

#include <string>
#include <vector>

#include "tools/shellprobe/CommandReasons.h"
#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

struct Explanation {
  Report report;                         // the chain, step by step
  std::vector<CommandVerdict> commands;  // and what comes of it, in the classic menu
  /// In the first menu of Windows 11; empty where Windows has none.
  std::vector<CommandVerdict> firstMenu;

  /// Whether a right-click shows any of the commands, in either menu.
  bool HasMenu() const;
};

/// Follows the chain from the registration to the commands with the library's own
/// code. Reads only: nothing is written anywhere, no log is opened and no check file
/// tried. COM must be there. Throws std::bad_alloc only.
Explanation ExplainSelection(const std::vector<std::wstring>& paths, const Machine& machine = ReadMachine());

}  // namespace veskard
