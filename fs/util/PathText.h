// Functions on path texts, without disk access.
#pragma once

#include <windows.h>

#include <string_view>

namespace veskard {

/// The text after the last backslash or slash:
///
///     C:\a\b.txt -> b.txt    b.txt -> b.txt    C:\a\ -> (empty)    a/b -> b
constexpr std::wstring_view LastComponent(std::wstring_view path) noexcept {
  return path.substr(path.find_last_of(L"\\/") + 1);  // npos + 1 is 0
}

/// Whether two texts are the same apart from letter case, as file systems compare.
/// Two spellings of one object's path (short names, links) still differ.
inline bool SamePathText(std::wstring_view a, std::wstring_view b) noexcept {
  return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

}  // namespace veskard
