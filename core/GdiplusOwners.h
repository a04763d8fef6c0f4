// The owners of GDI+'s flat-interface objects.
#pragma once

#include <objidl.h>
#include <windows.h>
// GDI+'s headers need COM's property types and the min and max of old.
#include <propidl.h>

#include <algorithm>

namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

#include "core/WindowsOwners.h"

namespace veskard {

using UniqueGpBitmap = Owner<SystemResource<Gdiplus::GpBitmap*, &Gdiplus::DllExports::GdipDisposeImage>>;
using UniqueGpGraphics =
    Owner<SystemResource<Gdiplus::GpGraphics*, &Gdiplus::DllExports::GdipDeleteGraphics>>;
using UniqueGpPen = Owner<SystemResource<Gdiplus::GpPen*, &Gdiplus::DllExports::GdipDeletePen>>;
using UniqueGpBrush = Owner<SystemResource<Gdiplus::GpBrush*, &Gdiplus::DllExports::GdipDeleteBrush>>;

}  // namespace veskard
