#include "fs/util/Handle.h"

#include "core/StdAfx.h"

namespace veskard {

std::shared_ptr<SyncHandle> MakeHandle(const PathVector& path, HandleKind kind) {
  switch (kind) {
    case HandleKind::kFile:
    case HandleKind::kFileSecondCode:
      return std::shared_ptr<SyncHandle>(new FileHandle(path));
    case HandleKind::kFolder:
      return std::shared_ptr<SyncHandle>(new FolderHandle(path));
    case HandleKind::kSymlink:
      return std::shared_ptr<SyncHandle>(new SymlinkHandle(path));
    case HandleKind::kStream:
      return std::shared_ptr<SyncHandle>(new StreamHandle(path));
  }
  AssertionFailed("fs\\util\\Handle", 72);
}

}  // namespace veskard
