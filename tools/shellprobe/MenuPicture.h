// The menu on the screen: shown by the system, photographed.
#pragma once

#include <windows.h>

#include "tools/shellprobe/PngFile.h"

namespace veskard {

/// Pops the menu up, as a right-click does, photographs its window once the
/// system has drawn it, and closes it after `milliseconds` more. Throws ToolError
/// when there is no screen to show it on.
Picture PhotographMenu(HMENU menu, unsigned milliseconds = 0);

}  // namespace veskard
