// TypeIcon: the icon that the Shell shows for a type of file.
#pragma once

#include <string>

#include "core/GdiplusOwners.h"

namespace veskard {

/// The Shell's icon for `name`, as a new 32-bit ARGB bitmap; empty on failure.
/// The name is never opened, so nothing by it need exist: the Shell answers from
/// its extension, or with the folder's icon where `isFolder` is set. Large gives
/// the jumbo icon (on old systems the stock folder icon at 256 × 256 pixels for
/// a folder), small the Shell's small icon. Throws std::bad_alloc only; runs
/// whatever icon handlers the Shell consults on the calling thread.
UniqueGpBitmap GetTypeIcon(const std::wstring& name, bool large, bool isFolder);

}  // namespace veskard
