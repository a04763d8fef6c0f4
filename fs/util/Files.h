// Operations on files and folders by path, without a handle object.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace veskard {

/// Whether an object exists at the path and is not a folder: one attribute query. False
/// also when the system refuses the query; the reason is the thread's last error.
bool FileExists(const wchar_t* path) noexcept;

/// The same for a folder.
bool FolderExists(const wchar_t* path) noexcept;

/// The bytes of a file with a zero byte behind them; `size` does not count that one. Any
/// failure (opening, sizing, more than `limit` bytes, allocation, a short read) gives
/// null and size 0; without memory for the bytes, the thread's last error is
/// ERROR_OUTOFMEMORY. The largest limit is what one read can take.
[[nodiscard]] std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size,
                                                    uint32_t limit = 0xFFFFFFFE);

/// Clears the attribute and keeps all others. False when the file does not have it, when
/// the attributes cannot be read, or when it cannot be cleared.
bool ClearReadOnly(const wchar_t* path) noexcept;

/// Deletes a file; when that is refused with ERROR_ACCESS_DENIED, writes its
/// attributes back without the read-only one and tries once more. Returns 0, or
/// the error of the last deletion tried.
DWORD DeleteEvenIfReadOnly(const wchar_t* path) noexcept;

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

/// Deletes a folder and everything below it, read-only files included. The target
/// of a link or junction is not below it: such an entry is removed and not entered, and of
/// a path that is a link itself only the link is removed. An empty path, the result of an
/// invalid path text, is ERROR_PATH_NOT_FOUND, and nothing is deleted. True when the
/// folder or link itself no longer exists; otherwise the reason is the thread's last
/// error. Throws std::bad_alloc only.
bool DeleteTree(const std::wstring& folderPath);

}  // namespace veskard
