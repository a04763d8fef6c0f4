// IconCallCounts: what composing an icon calls, counted.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include "core/GdiplusOwners.h"
#include "tests/support/CallCounts.h"

namespace veskard::test {

// clang-format off
class IconCallCounts {
#define VESKARD_COUNT(effect, scope, name) \
  const CallCount<#name, Effect::effect, decltype(&scope::name)> name{live_}

  std::atomic<int> live_ = 0;

 public:
  /// GDI+ objects, and locks on their bits, made and not freed while this lives.
  int Live() const noexcept { return live_; }

  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipCreateBitmapFromScan0);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipCreateBitmapFromHBITMAP);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipCloneBitmapAreaI);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipGetImageGraphicsContext);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipCreatePen1);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipCreateSolidFill);
  VESKARD_COUNT(kMakes, Gdiplus::DllExports, GdipBitmapLockBits);
  VESKARD_COUNT(kFrees, Gdiplus::DllExports, GdipDisposeImage);
  VESKARD_COUNT(kFrees, Gdiplus::DllExports, GdipDeleteGraphics);
  VESKARD_COUNT(kFrees, Gdiplus::DllExports, GdipDeletePen);
  VESKARD_COUNT(kFrees, Gdiplus::DllExports, GdipDeleteBrush);
  VESKARD_COUNT(kFrees, Gdiplus::DllExports, GdipBitmapUnlockBits);
  VESKARD_COUNT(kNone,  Gdiplus::DllExports, GdipDrawImageI);
  VESKARD_COUNT(kNone,  Gdiplus::DllExports, GdipDrawImageRectI);
  VESKARD_COUNT(kNone,  Gdiplus::DllExports, GdipDrawArcI);
  VESKARD_COUNT(kNone,  , GetIconInfo);
  VESKARD_COUNT(kNone,  , SHGetFileInfoW);
  VESKARD_COUNT(kNone,  , CreateIconIndirect);

#undef VESKARD_COUNT
};
// clang-format on

}  // namespace veskard::test
