#include "fs/util/FileInfo.h"

#include "core/WindowsOwners.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/OpenMode.h"
#include "fs/util/PathText.h"
#include "fs/util/Security.h"
#include "fs/util/Trace.h"

namespace veskard {
namespace {

constexpr DWORD kAttributeBit3 = 8;

uint32_t SecondsSince1970(const FILETIME& time) noexcept {
  const auto convert = Nt().timeToSecondsSince1970;
  LARGE_INTEGER ticks;
  ticks.LowPart = time.dwLowDateTime;
  ticks.HighPart = static_cast<LONG>(time.dwHighDateTime);
  ULONG seconds = 0;
  if (convert == nullptr || !convert(&ticks, &seconds)) return 0;
  return seconds;
}

UniqueFile OpenForQuery(const std::wstring& path, DWORD share) noexcept {
  return UniqueFile(
      ::CreateFileW(path.c_str(), 0, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Empty on failure; the reason is the thread's last error.
std::wstring FinalPath(HANDLE file) {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = ::GetFinalPathNameByHandleW(file, path.data(), MAX_PATH, 0);
  if (length >= MAX_PATH) {
    path.resize(length);  // the size needed, with the terminator
    length = ::GetFinalPathNameByHandleW(file, path.data(), length, 0);
  }
  path.resize(length < path.size() ? length : 0);
  return path;
}

}  // namespace

std::shared_ptr<FileInfoImpl> MakeFileInfo(std::wstring path) {
  auto info = std::make_shared<FileInfoImpl>(std::move(path));
  info->Refresh(kRefreshExactName);
  return info;
}

bool FileInfoImpl::IsFile() const {
  return error_ == 0 && !IsDirectory();
}

bool FileInfoImpl::IsDirectory() const {
  return (attributes_ & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool FileInfoImpl::IsReparsePoint() const {
  return (attributes_ & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool FileInfoImpl::IsAttributeBit3() const {
  return (attributes_ & kAttributeBit3) != 0;
}

uint64_t FileInfoImpl::GetSize() const {
  return uint64_t{sizeHigh_} << 32 | sizeLow_;
}

std::pair<uint32_t, uint32_t> FileInfoImpl::GetFileIndex() const {
  return {fileIndexHigh_, fileIndexLow_};
}

uint32_t FileInfoImpl::GetLastWriteTime() const {
  return SecondsSince1970(lastWriteTime_);
}

uint32_t FileInfoImpl::GetCreationTime() const {
  return SecondsSince1970(creationTime_);
}

uint32_t FileInfoImpl::GetLastAccessTime() const {
  return SecondsSince1970(lastAccessTime_);
}

int64_t FileInfoImpl::GetVolumeSerial() const {
  return path_.empty() || error_ != 0 ? -1 : int64_t{volumeSerial_};
}

const StreamEntryList& FileInfoImpl::GetStreams() const {
  static const StreamEntryList kNone;
  return streams_.empty() ? kNone : streams_;
}

bool FileInfoImpl::Exists() const {
  return error_ != ERROR_FILE_NOT_FOUND && error_ != ERROR_PATH_NOT_FOUND && error_ != ERROR_INVALID_NAME;
}

bool FileInfoImpl::Fail(uint32_t error) noexcept {
  error_ = error;
  return false;
}

bool FileInfoImpl::Refresh(uint32_t flags) {
  constexpr uint32_t kOpensTheObject = kRefreshByOpening | kRefreshPathOnDisk;
  const LookUp lookUp = (flags & kOpensTheObject) != 0 ? LookUp::kMustOpen : FillFromDirectory(flags);
  if (lookUp == LookUp::kFailed) return false;
  if (lookUp == LookUp::kMustOpen && !FillFromOpening(flags)) return false;
  return (flags & kRefreshSecurity) == 0 || ReadSecurity();
}

FileInfoImpl::LookUp FileInfoImpl::FillFromDirectory(uint32_t flags) {
  WIN32_FIND_DATAW entry;
  if (!UniqueFind(
          ::FindFirstFileExW(path_.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0))) {
    // Access to the folder's listing is denied; opening the object may still succeed.
    Fail(::GetLastError());
    return error_ == ERROR_ACCESS_DENIED ? LookUp::kMustOpen : LookUp::kFailed;
  }
  Fill(entry);
  volumeSerial_ = linkCount_ = fileIndexHigh_ = fileIndexLow_ = 0;
  if ((flags & kRefreshExactName) != 0 && LastComponent(path_) != entry.cFileName) {
    Fail(ERROR_FILE_NOT_FOUND);
    return LookUp::kFailed;
  }
  return LookUp::kFilled;
}

bool FileInfoImpl::FillFromOpening(uint32_t flags) {
  const UniqueFile file = OpenForQuery(path_, kShareEverything);
  if (!file) return Fail(::GetLastError());
  if (!FillFromHandle(file.Get())) return false;
  return (flags & (kRefreshExactName | kRefreshPathOnDisk)) == 0 || CheckFinalPath(file.Get(), flags);
}

bool FileInfoImpl::FillFromHandle(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information;
  if (!::GetFileInformationByHandle(file, &information)) {
    Fail(::GetLastError());
    traceHook(L"FILE_INFO[%s]: GetFileInformationByHandle failed, error - %u", path_, error_);
    return false;
  }
  Fill(information);
  volumeSerial_ = information.dwVolumeSerialNumber;
  linkCount_ = information.nNumberOfLinks;
  fileIndexHigh_ = information.nFileIndexHigh;
  fileIndexLow_ = information.nFileIndexLow;
  return true;
}

// The data that a directory look-up and an open object have in common.
template <class Description>
void FileInfoImpl::Fill(const Description& description) noexcept {
  attributes_ = description.dwFileAttributes;
  creationTime_ = description.ftCreationTime;
  lastAccessTime_ = description.ftLastAccessTime;
  lastWriteTime_ = description.ftLastWriteTime;
  sizeHigh_ = description.nFileSizeHigh;
  sizeLow_ = description.nFileSizeLow;
}

bool FileInfoImpl::CheckFinalPath(HANDLE file, uint32_t flags) {
  std::wstring finalPath = FinalPath(file);
  if (finalPath.empty()) {
    Fail(::GetLastError());
    traceHook(L"FILE_INFO[%s]: GetPathOnDiskByHandle failed, error - %u", path_, error_);
    return false;
  }
  if ((flags & kRefreshExactName) != 0 && LastComponent(finalPath) != LastComponent(path_)) {
    return Fail(ERROR_FILE_NOT_FOUND);
  }
  if ((flags & kRefreshPathOnDisk) != 0) pathOnDisk_ = std::move(finalPath);
  return true;
}

bool FileInfoImpl::ReadSecurity() {
  SecurityStrings strings;
  if (const uint32_t error = ReadSecurityStrings(path_, strings)) return Fail(error);
  accessList_ = std::move(strings.accessList);
  owner_ = std::move(strings.owner);
  group_ = std::move(strings.group);
  return true;
}

bool FileInfoImpl::ReadStreams() {
  streams_.clear();
  if (Nt().queryInformationFile == nullptr) return Fail(ERROR_PROC_NOT_FOUND);
  std::vector<char> answer;
  {
    const UniqueFile file = OpenForQuery(path_, FILE_SHARE_READ | FILE_SHARE_WRITE);
    if (!file) return Fail(::GetLastError());
    // The query does not set the last error, so the earlier value is recorded.
    if (QueryStreamAnswer(file.Get(), answer) != 0) return Fail(::GetLastError());
  }
  if (WalkStreamAnswer(answer, streams_)) return true;
  streams_.clear();
  return Fail(ERROR_INVALID_DATA);
}

bool FileInfoImpl::StripInheritedDuplicates() {
  return veskard::StripInheritedDuplicates(accessList_);
}

}  // namespace veskard
