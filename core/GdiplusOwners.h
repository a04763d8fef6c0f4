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

#include "core/Owner.h"

namespace veskard {

struct GpBitmapResource {
  using Value = Gdiplus::GpBitmap*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { Gdiplus::DllExports::GdipDisposeImage(value); }
};
struct GpGraphicsResource {
  using Value = Gdiplus::GpGraphics*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { Gdiplus::DllExports::GdipDeleteGraphics(value); }
};
struct GpPenResource {
  using Value = Gdiplus::GpPen*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { Gdiplus::DllExports::GdipDeletePen(value); }
};
struct GpBrushResource {
  using Value = Gdiplus::GpBrush*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { Gdiplus::DllExports::GdipDeleteBrush(value); }
};

using UniqueGpBitmap = Owner<GpBitmapResource>;
using UniqueGpGraphics = Owner<GpGraphicsResource>;
using UniqueGpPen = Owner<GpPenResource>;
using UniqueGpBrush = Owner<GpBrushResource>;

}  // namespace veskard
