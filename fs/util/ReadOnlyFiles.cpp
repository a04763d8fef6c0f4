#include "fs/util/ReadOnlyFiles.h"

namespace veskard {
namespace {

constexpr DWORD kReadOnly = FILE_ATTRIBUTE_READONLY;

DWORD DeleteOnce(const wchar_t* path) noexcept {
  return ::DeleteFileW(path) ? 0 : ::GetLastError();
}

}  // namespace

bool ClearReadOnly(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & kReadOnly) == 0) return false;
  return ::SetFileAttributesW(path, attributes & ~kReadOnly) != FALSE;
}

DWORD DeleteEvenIfReadOnly(const wchar_t* path) noexcept {
  const DWORD error = DeleteOnce(path);
  if (error != ERROR_ACCESS_DENIED) return error;
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return error;
  if (!::SetFileAttributesW(path, attributes & ~kReadOnly)) return error;
  return DeleteOnce(path);
}

}  // namespace veskard
