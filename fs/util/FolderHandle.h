// FolderHandle: a folder.
#pragma once

#include "fs/util/FileHandle.h"

namespace veskard {

/// A folder, closed at first. Opens by the modes that carry backup semantics (3
/// and 5) or with that flag among the extra ones; transfers do nothing.
class FolderHandle : public FileHandle {
 public:
  explicit FolderHandle(const PathVector& path) : FileHandle(path) {}

  bool Seek(uint64_t) override { return false; }
  bool SetSize(uint64_t) override { return false; }
  uint32_t Read(void*, uint32_t) override { return 0; }
  uint32_t ReadAt(void*, uint32_t, uint64_t) override { return 0; }
  uint32_t Write(const void*, uint32_t) override { return 0; }
  uint32_t WriteAt(const void*, uint32_t, uint64_t) override { return 0; }
  bool CopyFrom(const std::wstring&, HandleKind) override { return false; }

  /// Recursive: the folder with everything below it (DeleteTree). Otherwise the
  /// folder must be empty (ERROR_DIR_NOT_EMPTY).
  bool Delete(bool recursive, uint32_t* error) override;

  /// Makes the folder and every missing one above it; a folder that exists is
  /// success. Folders made before a failure stay.
  bool Create() override;

  HandleKind GetKind() const override { return HandleKind::kFolder; }
};

}  // namespace veskard
