// IconFaultHooks: hooks on everything that composing an icon calls.
#pragma once

#include <windows.h>
// The image lists' header needs the common controls' types.
#include <commctrl.h>

#include <commoncontrols.h>
#include <shellapi.h>

#include "shellext/icons/GdiplusOwners.h"
#include "tests/support/CallFaults.h"

namespace veskard::test {

template <FunctionName kName, Effect kEffect, class Function>
using GdiplusHook = CallHook<kName, kEffect, Function, Gdiplus::GenericError>;
template <FunctionName kName, class Function>
using HandleHook = CallHook<kName, Effect::kNone, Function, nullptr>;

/// While one lives, tests/support/CallFaults.h plans which call fails, and counts
/// the GDI+ objects and locks that are held.
// clang-format off
class IconFaultHooks {
#define VESKARD_GDIPLUS(effect, name) \
  const GdiplusHook<#name, Effect::effect, decltype(&Gdiplus::DllExports::name)> name
#define VESKARD_HANDLE(name) const HandleHook<#name, decltype(&::name)> name

  VESKARD_GDIPLUS(kMakes, GdipCreateBitmapFromScan0);
  VESKARD_GDIPLUS(kMakes, GdipCreateBitmapFromHBITMAP);
  VESKARD_GDIPLUS(kMakes, GdipCloneBitmapAreaI);
  VESKARD_GDIPLUS(kMakes, GdipGetImageGraphicsContext);
  VESKARD_GDIPLUS(kMakes, GdipCreatePen1);
  VESKARD_GDIPLUS(kMakes, GdipCreateSolidFill);
  VESKARD_GDIPLUS(kMakes, GdipBitmapLockBits);
  VESKARD_GDIPLUS(kFrees, GdipDisposeImage);
  VESKARD_GDIPLUS(kFrees, GdipDeleteGraphics);
  VESKARD_GDIPLUS(kFrees, GdipDeletePen);
  VESKARD_GDIPLUS(kFrees, GdipDeleteBrush);
  VESKARD_GDIPLUS(kFrees, GdipBitmapUnlockBits);
  VESKARD_GDIPLUS(kNone,  GdipGetImageWidth);
  VESKARD_GDIPLUS(kNone,  GdipGetImageHeight);
  VESKARD_GDIPLUS(kNone,  GdipGetImagePixelFormat);
  VESKARD_GDIPLUS(kNone,  GdipDrawImageI);
  VESKARD_GDIPLUS(kNone,  GdipDrawImageRectI);
  VESKARD_GDIPLUS(kNone,  GdipFillEllipseI);
  VESKARD_GDIPLUS(kNone,  GdipDrawEllipseI);
  VESKARD_GDIPLUS(kNone,  GdipDrawArcI);

  VESKARD_HANDLE(CreateBitmap);
  VESKARD_HANDLE(CreateDIBSection);
  VESKARD_HANDLE(CreateCompatibleDC);
  VESKARD_HANDLE(CreateIconIndirect);
  VESKARD_HANDLE(GetDC);
  VESKARD_HANDLE(DuplicateIcon);
  const CallHook<"GetIconInfo", Effect::kNone, decltype(&::GetIconInfo), FALSE> GetIconInfo;
  const CallHook<"SHGetFileInfoW", Effect::kNone, decltype(&::SHGetFileInfoW), 0> SHGetFileInfoW;
  const CallHook<"SHGetImageList", Effect::kNone, decltype(&::SHGetImageList), E_FAIL> SHGetImageList;

#undef VESKARD_GDIPLUS
#undef VESKARD_HANDLE
};
// clang-format on

}  // namespace veskard::test
