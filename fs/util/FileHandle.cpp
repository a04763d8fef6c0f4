#include "fs/util/FileHandle.h"

#include "core/StdAfx.h"
#include "fs/util/FileInfo.h"
#include "fs/util/Files.h"
#include "fs/util/StreamHandle.h"

namespace veskard {
namespace {

bool WritesByMode(uint32_t mode) noexcept {
  return mode < kOpenModes.size() && kOpenModes[mode].writes;
}

DWORD CopyFileOver(const std::wstring& source, const std::wstring& target) {
  if (IsCopyOntoItself(source, target)) return ERROR_SHARING_VIOLATION;
  return ::CopyFileW(source.c_str(), target.c_str(), FALSE) ? 0 : ::GetLastError();
}

}  // namespace

int64_t FileHandle::GetModificationTime(uint32_t* error) {
  const auto hold = HoldLock();
  const auto info = MakeFileInfo(Path());
  Record(info->Error(), error);
  return info->GetLastWriteTime();
}

uint64_t FileHandle::GetSize(uint32_t* error) {
  const auto hold = HoldLock();
  const auto info = MakeFileInfo(Path());
  Record(info->Error(), error);
  return info->GetSize();
}

bool FileHandle::Open(uint32_t mode, uint8_t flag, uint32_t extraFlags) {
  const auto hold = HoldLock();
  if (OpenNamed(Path(), mode, flag, extraFlags)) return true;
  if (LastError() != ERROR_ACCESS_DENIED || !WritesByMode(mode) || !ClearReadOnly(Path().c_str()))
    return false;
  return OpenAgain(Path(), 0);
}

bool FileHandle::CopyFrom(const std::wstring& sourcePath, HandleKind sourceKind) {
  const auto hold = HoldLock();
  switch (sourceKind) {
    case HandleKind::kFile:
    case HandleKind::kFileSecondCode:
      return CopyFileContents(sourcePath);
    case HandleKind::kStream: {
      StreamHandle source{PathVector(sourcePath)};
      return FillFrom(source, source.FullName(), Path());
    }
    default:
      return false;
  }
}

bool FileHandle::CopyFileContents(const std::wstring& sourcePath) {
  const DWORD error = CopyFileOver(sourcePath, Path());
  // An open handle's error is about the open file; the copy does not touch it.
  if (!HasOsHandle()) Record(error);
  return error == 0;
}

bool FileHandle::Delete(bool, uint32_t* error) {
  const auto hold = HoldLock();
  return Record(DeleteEvenIfReadOnly(Path().c_str()), error);
}

std::optional<StreamHandleList> FileHandle::GetStreams() {
  const auto hold = HoldLock();
  const auto info = MakeFileInfo(Path());
  const bool listed = info->ReadStreams();
  Record(listed ? 0 : info->Error());
  if (!listed) return std::nullopt;
  StreamHandleList streams;
  for (const StreamEntry& entry : info->GetStreams()) {
    streams.push_back(std::shared_ptr<SyncHandle>(new StreamHandle(Path(), entry.name)));
  }
  return streams;
}

bool FileHandle::Create() {
  const auto hold = HoldLock();
  if (HasOsHandle()) AssertionFailed("fs\\util\\Handle", 576);
  if (!Open(kModeReplace, OpenFlag(), 0)) return false;
  Close();
  return true;
}

bool FileHandle::SetValidData(uint64_t size) {
  const auto hold = HoldLock();
  return SetSize(size) && SetValidDataOpen(size);
}

}  // namespace veskard
