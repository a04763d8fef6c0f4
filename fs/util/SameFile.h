// Whether two paths lead to the same contents.
#pragma once

#include <string>

namespace veskard {

/// True when the texts differ in letter case at most, or when both files exist and
/// the volume says that they are one (another prefix, a short name, a link). What
/// cannot be told counts as different. Throws std::bad_alloc only.
bool IsSameFile(const std::wstring& a, const std::wstring& b);

/// Whether emptying `target` would take the contents of `source`: both name one stream
/// of one file, or `target` is a file's main stream, with which its others go. Paths as
/// the system opens them:
///
///     target        source               true for links to the file, too
///     C:\f          C:\f, C:\f::$DATA    the file itself
///     C:\f          C:\f:name            a stream that goes with it
///     C:\f:name     C:\f:NAME:$DATA      the stream itself
///     C:\f:name     C:\f, C:\f:other     false
///
/// Throws std::bad_alloc only.
bool IsCopyOntoItself(const std::wstring& source, const std::wstring& target);

}  // namespace veskard
