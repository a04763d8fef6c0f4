// shellprobe menu --first-level: the first menu of Windows 11.
#pragma once

#include "tools/common/CommandLine.h"

namespace veskard {

/// The rest of shellprobe menu, for Explorer's own menu; the exit code. Throws ToolError.
/// COM must be initialised.
int RunFirstLevelMenu(const Arguments& arguments);

}  // namespace veskard
