// SymlinkHandle: a symbolic link and the text of its target.
#pragma once

#include "fs/util/FileHandle.h"

namespace veskard {

/// A link, closed at first. It makes no link on disk: Create succeeds without
/// doing anything, and Write records the target's text in this object only.
class SymlinkHandle : public FileHandle {
 public:
  explicit SymlinkHandle(const PathVector& path) : FileHandle(path) {}

  bool Seek(uint64_t) override { return false; }
  bool SetSize(uint64_t) override { return false; }
  uint32_t Read(void*, uint32_t) override { return 0; }
  uint32_t ReadAt(void*, uint32_t, uint64_t) override { return 0; }

  /// Takes `buffer` as a zero-terminated wide string, whatever `count` says, and
  /// keeps it as the target's text; null empties it. Returns the text's length in
  /// characters.
  uint32_t Write(const void* buffer, uint32_t count) override;
  uint32_t WriteAt(const void*, uint32_t, uint64_t) override { return 0; }

  bool CopyFrom(const std::wstring&, HandleKind) override { return false; }
  bool Create() override { return true; }
  HandleKind GetKind() const override { return HandleKind::kSymlink; }

  const std::wstring& Target() const noexcept { return target_; }

 private:
  std::wstring target_;
};

}  // namespace veskard
