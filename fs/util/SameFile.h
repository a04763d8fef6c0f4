// Whether two paths lead to one file.
#pragma once

#include <string>

namespace veskard {

/// True when the texts differ in letter case at most, or when both files exist and
/// the volume says that they are one (another prefix, a short name, a link). What
/// cannot be told counts as different. Throws std::bad_alloc only.
bool IsSameFile(const std::wstring& a, const std::wstring& b);

}  // namespace veskard
