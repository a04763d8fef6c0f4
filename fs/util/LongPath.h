// LongPath: the spelling of a path that Windows accepts at any length.
#pragma once

#include <cstddef>
#include <string>

namespace veskard {

/// The most characters of a path that Windows opens without the long prefix
/// (MAX_PATH less the terminator).
inline constexpr size_t kLongestPlainPath = 259;

/// `path` in its long form when it is longer than that:
///
///     C:\...\name                \\?\C:\...\name
///     \\server\share\...\name    \\?\UNC\server\share\...\name
///
/// Windows does not resolve a long form. The text is therefore first resolved as Windows
/// resolves a shorter one: slashes become backslashes; doubled separators, "." and "..",
/// and dots and blanks at the end of the path are removed.
///
/// Returned unchanged: a path of up to kLongestPlainPath characters; one that has the
/// prefix or names a device (`\\?\`, `\\.\`); a relative one (`name`, `\name`,
/// `C:name`), which would depend on the host's current folder; one of more than
/// 32,767 characters, which no form makes acceptable; one that Windows does not
/// resolve. Does not touch the disk; throws std::bad_alloc only.
std::wstring LongPathForm(std::wstring path);

}  // namespace veskard
