// The factory of the handle family.
#pragma once

#include <memory>

#include "fs/util/FileHandle.h"
#include "fs/util/FolderHandle.h"
#include "fs/util/StreamHandle.h"
#include "fs/util/SymlinkHandle.h"

namespace veskard {

/// A closed handle of the kind asked for. An unknown kind is an assertion
/// failure. Throws std::bad_alloc only.
std::shared_ptr<SyncHandle> MakeHandle(const PathVector& path, HandleKind kind);

}  // namespace veskard
