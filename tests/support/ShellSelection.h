// Selections of real shell items.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard::test {

/// An array of the shell's own items, as Explorer makes it. What a path names must exist; the
/// test fails where the shell has no item for one. COM is initialised on the thread.
UniqueCom<IShellItemArray> NewShellArray(const std::vector<std::wstring>& paths);

/// The same with "This PC" in front, which has no path.
UniqueCom<IShellItemArray> NewShellArrayWithThisPc(const std::vector<std::wstring>& paths);

}  // namespace veskard::test
