// StreamHandle: an NTFS alternate data stream of a file.
#pragma once

#include "fs/util/SyncHandle.h"

namespace veskard {

/// A named stream, closed at first. Its path is the file's path with the stream's
/// name as one more component. The system's name for it differs:
///
///     path         C:\folder\file.txt\name
///     file path    C:\folder\file.txt
///     stream name  name
///     full name    C:\folder\file.txt:name
class StreamHandle : public SyncHandle {
 public:
  /// `path` ends in the stream's name. A path of fewer than two components has no
  /// file part; such a stream never opens (ERROR_PATH_NOT_FOUND), and the current
  /// folder's stream of that name is left alone.
  explicit StreamHandle(const PathVector& path);
  StreamHandle(const std::wstring& filePath, std::wstring streamName);
  ~StreamHandle() override { StreamHandle::Close(); }

  bool Seek(uint64_t offset) override { return SeekOpen(offset); }
  bool SetSize(uint64_t size) override { return SetSizeOpen(size); }
  std::wstring GetName() const override;

  /// Opens the stream by mode 0 on the side and asks for its size.
  uint64_t GetSize(uint32_t* error) override;

  /// No second try for a read-only file.
  bool Open(uint32_t mode, uint8_t flag, uint32_t extraFlags) override;
  bool IsOpen() const override { return HasOsHandle(); }

  uint32_t Read(void* buffer, uint32_t count) override { return ReadOpen(buffer, count); }
  uint32_t ReadAt(void* buffer, uint32_t count, uint64_t offset) override {
    return ReadOpen(buffer, count, &offset);
  }
  uint32_t Write(const void* buffer, uint32_t count) override { return WriteOpen(buffer, count); }
  uint32_t WriteAt(const void* buffer, uint32_t count, uint64_t offset) override {
    return WriteOpen(buffer, count, &offset);
  }
  bool Flush(uint32_t* error) override { return FlushOpen(error); }

  /// From a file (kinds 1 and 4) or a stream (kind 5): opens this stream by mode
  /// 2, which empties it, carries the source's bytes over, flushes, and leaves the
  /// handle closed; the result is true only when every byte arrived. A source that
  /// does not open leaves the stream as it was, and so does the stream itself as
  /// the source, whatever its kind and spelling (IsCopyOntoItself):
  /// ERROR_SHARING_VIOLATION. Other kinds: false, and nothing happens.
  bool CopyFrom(const std::wstring& sourcePath, HandleKind sourceKind) override;

  /// Deletes the stream; the file stays. No second try for a read-only file.
  bool Delete(bool recursive, uint32_t* error) override;

  bool IsDeletePending() override { return IsDeletePendingOpen(); }
  HandleKind GetKind() const override { return HandleKind::kStream; }

  const std::wstring& FilePath() const noexcept { return filePath_; }
  /// Empty without a file path: a colon and a name would be the current folder's stream.
  std::wstring FullName() const {
    return filePath_.empty() ? std::wstring() : filePath_ + L':' + streamName_;
  }

 private:
  std::wstring streamName_;
  std::wstring filePath_;
};

}  // namespace veskard
