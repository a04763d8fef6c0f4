#include "fs/util/OpenMode.h"

namespace veskard {
namespace {

bool MoveToEnd(HANDLE file) noexcept {
  return ::SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_END) != FALSE;
}

}  // namespace

UniqueFile OpenByMode(const std::wstring& path, uint32_t mode, uint32_t extraFlags) noexcept {
  if (mode >= kOpenModes.size()) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return UniqueFile();
  }
  const OpenMode& row = kOpenModes[mode];
  UniqueFile file(::CreateFileW(path.c_str(), row.access, kShareEverything, nullptr, row.disposition,
                                row.flags | extraFlags, nullptr));
  if (file && row.appends && !MoveToEnd(file.Get())) file.Reset();
  return file;
}

}  // namespace veskard
