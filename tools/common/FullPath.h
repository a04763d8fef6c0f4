// Paths from a command line.
#pragma once

#include <string>

namespace veskard {

/// The path from its drive on, with backslashes and without one at the end
/// (except a drive's root). Does not ask whether it exists. Throws ToolError.
std::wstring FullPath(const std::wstring& path);

}  // namespace veskard
