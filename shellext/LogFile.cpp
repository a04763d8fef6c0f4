#include "shellext/LogFile.h"

namespace veskard {

bool LogFile::Open() noexcept {
  constexpr DWORD kFullSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  file_.Reset(::CreateFileW(path_.c_str(), GENERIC_WRITE, kFullSharing, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
  return static_cast<bool>(file_);
}

void LogFile::Append(const void* bytes, size_t count) noexcept {
  OVERLAPPED atEnd = {};
  atEnd.Offset = atEnd.OffsetHigh = MAXDWORD;
  DWORD written = 0;
  ::WriteFile(file_.Get(), bytes, static_cast<DWORD>(count), &written, &atEnd);
  ::FlushFileBuffers(file_.Get());
}

bool LogFile::IsDeletePending() const noexcept {
  FILE_STANDARD_INFO info = {};
  return ::GetFileInformationByHandleEx(file_.Get(), FileStandardInfo, &info, sizeof(info)) &&
         info.DeletePending;
}

uint64_t LogFile::Size() const noexcept {
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(file_.Get(), &size);
  return static_cast<uint64_t>(size.QuadPart);
}

}  // namespace veskard
