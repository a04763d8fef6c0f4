// Working on files whose read-only attribute stands in the way.
#pragma once

#include <windows.h>

namespace veskard {

/// Clears the attribute and keeps all others. False when the file does not have
/// it, when that cannot be told, or when it cannot be cleared.
bool ClearReadOnly(const wchar_t* path) noexcept;

/// Deletes a file; when that is refused with ERROR_ACCESS_DENIED, writes its
/// attributes back without the read-only one and tries once more. Returns 0, or
/// the error of the last deletion tried.
DWORD DeleteEvenIfReadOnly(const wchar_t* path) noexcept;

}  // namespace veskard
