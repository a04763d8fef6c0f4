// FileHandle: a plain file.
#pragma once

#include "fs/util/SyncHandle.h"

namespace veskard {

/// A file, closed at first. See SyncHandle for the operations.
class FileHandle : public SyncHandle {
 public:
  explicit FileHandle(const PathVector& path) : SyncHandle(path) {}
  ~FileHandle() override { FileHandle::Close(); }

  bool Seek(uint64_t offset) override { return SeekOpen(offset); }
  bool SetSize(uint64_t size) override { return SetSizeOpen(size); }
  int64_t GetModificationTime(uint32_t* error) override;
  uint64_t GetSize(uint32_t* error) override;

  /// A writing mode that is refused with ERROR_ACCESS_DENIED because the file is
  /// read-only makes the file writable, for good, and opens once more without
  /// `extraFlags`.
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

  /// From a file (kinds 1 and 4): the system's copy, with attributes, over an existing
  /// file. Its error is recorded only while this handle is closed; an
  /// open handle keeps its old error, whatever the copy's outcome.
  /// From a stream (kind 5): opens this file by mode 2, which empties it, carries
  /// the stream's bytes over, flushes, and leaves the handle closed; the result is
  /// true only when every byte arrived. A source that does not open leaves the file
  /// unchanged. So does a source that emptying the file would delete, whatever its kind
  /// and spelling (IsCopyOntoItself): ERROR_SHARING_VIOLATION. Other kinds: false, and
  /// nothing happens.
  bool CopyFrom(const std::wstring& sourcePath, HandleKind sourceKind) override;

  /// A read-only file is made writable and deleted too. An open handle stays open; the
  /// file disappears when it is closed.
  bool Delete(bool recursive, uint32_t* error) override;

  /// Through the system's stream list (FileInfoImpl::ReadStreams); empty streams
  /// and the main one are left out.
  std::optional<StreamHandleList> GetStreams() override;

  /// Empties the file if it exists. Calling it while open is an assertion failure.
  bool Create() override;

  bool IsDeletePending() override { return IsDeletePendingOpen(); }

  /// Sets the size first, then the valid data length.
  bool SetValidData(uint64_t size) override;

  HandleKind GetKind() const override { return HandleKind::kFile; }

 private:
  bool CopyFileContents(const std::wstring& sourcePath);
};

}  // namespace veskard
