// The selection of files that the Shell passes to its extensions.
#pragma once

#include <objidl.h>

#include <string>
#include <vector>

#include "tools/shellprobe/ComApartment.h"

namespace veskard {

/// A data object that offers the paths, in order, as CF_HDROP in global memory:
/// as a window of Explorer does for its selected items. Every GetData makes a
/// new block, which the receiver frees. Throws std::bad_alloc.
UniqueCom<IDataObject> MakeSelectionData(std::vector<std::wstring> paths);

}  // namespace veskard
