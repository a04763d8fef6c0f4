// ShellItems: a selection as the Shell's own items.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <shobjidl.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard {

/// The array that Explorer passes to a command of its first menu. Throws ToolError for a
/// path that names nothing: the Shell has no item for it. COM must be initialised.
UniqueCom<IShellItemArray> MakeShellItems(const std::vector<std::wstring>& paths);

}  // namespace veskard
