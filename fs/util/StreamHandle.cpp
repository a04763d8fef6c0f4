#include "fs/util/StreamHandle.h"

#include "fs/util/FileHandle.h"

namespace veskard {
namespace {

std::wstring StreamNameOf(const PathVector& path) {
  return path.Count() == 0 ? std::wstring() : path.At(path.Count() - 1);
}

std::wstring FilePathOf(const PathVector& path) {
  // A count of 0 would mean all components.
  return path.Count() < 2 ? std::wstring() : path.ToString(path.Separator(), path.Count() - 1);
}

}  // namespace

StreamHandle::StreamHandle(const PathVector& path)
    : SyncHandle(path), streamName_(StreamNameOf(path)), filePath_(FilePathOf(path)) {}

StreamHandle::StreamHandle(const std::wstring& filePath, std::wstring streamName)
    : SyncHandle(filePath + kPathSeparator + streamName),
      streamName_(std::move(streamName)),
      filePath_(filePath) {}

std::wstring StreamHandle::GetName() const {
  const auto hold = HoldLock();
  return streamName_;
}

uint64_t StreamHandle::GetSize(uint32_t* error) {
  const auto hold = HoldLock();
  const UniqueFile stream = OpenByMode(FullName(), kModeRead, 0);
  LARGE_INTEGER size = {};
  RecordCall(stream && ::GetFileSizeEx(stream.Get(), &size), error);
  return static_cast<uint64_t>(size.QuadPart);
}

bool StreamHandle::Open(uint32_t mode, uint8_t flag, uint32_t extraFlags) {
  const auto hold = HoldLock();
  return OpenNamed(FullName(), mode, flag, extraFlags);
}

bool StreamHandle::CopyFrom(const std::wstring& sourcePath, HandleKind sourceKind) {
  const auto hold = HoldLock();
  switch (sourceKind) {
    case HandleKind::kFile:
    case HandleKind::kFileSecondCode: {
      FileHandle source{PathVector(sourcePath)};
      return FillFrom(source, source.Path(), FullName());
    }
    case HandleKind::kStream: {
      StreamHandle source{PathVector(sourcePath)};
      return FillFrom(source, source.FullName(), FullName());
    }
    default:
      return false;
  }
}

bool StreamHandle::Delete(bool, uint32_t* error) {
  const auto hold = HoldLock();
  return RecordCall(::DeleteFileW(FullName().c_str()), error);
}

}  // namespace veskard
