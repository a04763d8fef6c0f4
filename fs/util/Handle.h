// The factory of the handle family, and whole-file and whole-tree operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core/WindowsOwners.h"
#include "fs/util/FileHandle.h"
#include "fs/util/FolderHandle.h"
#include "fs/util/StreamHandle.h"
#include "fs/util/SymlinkHandle.h"

namespace veskard {

/// A closed handle of the kind asked for. An unknown kind is an assertion
/// failure. Throws std::bad_alloc only.
std::shared_ptr<SyncHandle> MakeHandle(const PathVector& path, HandleKind kind);

/// The one place where handles and ReadWholeFile open a file: `CreateFileW` with the row `mode` of
/// kOpenModes, `extraFlags` added to its flags and attributes. On failure the owner
/// is empty and the thread's last error tells why: an unknown mode is
/// ERROR_INVALID_PARAMETER, and an append whose move to the end fails has the
/// move's error, the file being closed again.
[[nodiscard]] UniqueFile OpenByMode(const std::wstring& path, uint32_t mode, uint32_t extraFlags) noexcept;

/// The bytes of a file with a zero byte behind them; `size` does not count that
/// one. Any failure (opening, sizing, allocation, a short read, a file that one
/// read cannot take) gives null and size 0.
[[nodiscard]] std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size);

/// Deletes a folder and everything below it, read-only files included. What a
/// link or junction inside points to is not below it: such an entry is removed and
/// not entered. An empty path, which is what a path text that is not understood
/// leaves, is ERROR_PATH_NOT_FOUND, and nothing is deleted. True when the folder
/// itself is gone in the end; otherwise the thread's last error tells why it is not.
bool DeleteTree(const std::wstring& path);

}  // namespace veskard
