// The ways in which this layer opens files: a mode is an index into one table.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/WindowsOwners.h"

namespace veskard {

/// One way of opening. Every open shares reading, writing and deleting, and gives
/// neither security attributes nor a template.
struct OpenMode {
  DWORD access;
  DWORD disposition;
  DWORD flags;   // flags and attributes
  bool writes;   // may be refused for a read-only file, which is then made writable
  bool appends;  // the file position is moved to the end
};

inline constexpr DWORD kShareEverything = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

inline constexpr DWORD kReadWriteAccess = GENERIC_READ | GENERIC_WRITE;
inline constexpr DWORD kObjectFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_ATTRIBUTE_NORMAL;

/// Mode 3 opens any object, a folder too, for queries only; mode 4 appends.
// clang-format off
inline constexpr std::array<OpenMode, 7> kOpenModes = {{
    // access            disposition    flags and attributes    writes  appends
    {GENERIC_READ,       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,  false,  false},  // 0
    {kReadWriteAccess,   OPEN_ALWAYS,   FILE_ATTRIBUTE_NORMAL,  true,   false},  // 1
    {kReadWriteAccess,   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,  true,   false},  // 2
    {0,                  OPEN_EXISTING, kObjectFlags,           false,  false},  // 3
    {GENERIC_WRITE,      OPEN_ALWAYS,   FILE_ATTRIBUTE_NORMAL,  true,   true },  // 4
    {kReadWriteAccess,   OPEN_EXISTING, kObjectFlags,           true,   false},  // 5
    {kReadWriteAccess,   CREATE_NEW,    FILE_ATTRIBUTE_NORMAL,  true,   false},  // 6
}};
// clang-format on

/// Names for the modes that code of this system asks for.
inline constexpr uint32_t kModeRead = 0;
inline constexpr uint32_t kModeReplace = 2;
inline constexpr uint32_t kModeQuery = 3;
inline constexpr uint32_t kModeAppend = 4;

/// The mode of a closed handle.
inline constexpr uint32_t kModeClosed = 0xFFFFFFFF;

/// The only place where handles and ReadWholeFile open a file: `CreateFileW` with the
/// row `mode` of kOpenModes, `extraFlags` added to its flags and attributes. On
/// failure the owner is empty and the reason is the thread's last error: an unknown mode
/// is ERROR_INVALID_PARAMETER, and an append whose move to the end fails has the
/// move's error; the file is then closed.
[[nodiscard]] UniqueFile OpenByMode(const std::wstring& path, uint32_t mode, uint32_t extraFlags) noexcept;

}  // namespace veskard
