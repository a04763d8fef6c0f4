// The functions of GDI+ that drawing calls, from a library that is loaded when the
// first of them is: most right-clicks draw nothing.
#pragma once

#include <objidl.h>
#include <windows.h>
// GDI+'s headers need COM's property types and macros named min and max.
#include <propidl.h>

#include <algorithm>

namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

#include "core/LateLibrary.h"

// clang-format off
#define VESKARD_GDIPLUS_FUNCTIONS(use)                            \
  use(Gdiplus, GdiplusStartup)                                    \
  use(Gdiplus, GdiplusShutdown)                                   \
  use(Gdiplus::DllExports, GdipBitmapLockBits)                    \
  use(Gdiplus::DllExports, GdipBitmapUnlockBits)                  \
  use(Gdiplus::DllExports, GdipCloneBitmapAreaI)                  \
  use(Gdiplus::DllExports, GdipCreateBitmapFromHBITMAP)           \
  use(Gdiplus::DllExports, GdipCreateBitmapFromScan0)             \
  use(Gdiplus::DllExports, GdipCreateHBITMAPFromBitmap)           \
  use(Gdiplus::DllExports, GdipCreatePen1)                        \
  use(Gdiplus::DllExports, GdipCreateSolidFill)                   \
  use(Gdiplus::DllExports, GdipDeleteBrush)                       \
  use(Gdiplus::DllExports, GdipDeleteGraphics)                    \
  use(Gdiplus::DllExports, GdipDeletePen)                         \
  use(Gdiplus::DllExports, GdipDisposeImage)                      \
  use(Gdiplus::DllExports, GdipDrawArcI)                          \
  use(Gdiplus::DllExports, GdipDrawEllipseI)                      \
  use(Gdiplus::DllExports, GdipDrawImageI)                        \
  use(Gdiplus::DllExports, GdipDrawImageRectI)                    \
  use(Gdiplus::DllExports, GdipFillEllipseI)                      \
  use(Gdiplus::DllExports, GdipGetImageGraphicsContext)           \
  use(Gdiplus::DllExports, GdipGetImageHeight)                    \
  use(Gdiplus::DllExports, GdipGetImagePixelFormat)               \
  use(Gdiplus::DllExports, GdipGetImageWidth)
// clang-format on

namespace veskard::gdip {

// Called like the functions of GDI+. When GDI+ cannot be loaded, they return what GDI+
// returns before it is started.
// NOLINTBEGIN(bugprone-macro-parentheses): a name that is declared has none.
#define VESKARD_DECLARE(scope, name) \
  extern LateFunction<decltype(&scope::name), Gdiplus::GdiplusNotInitialized> name;
VESKARD_GDIPLUS_FUNCTIONS(VESKARD_DECLARE)
#undef VESKARD_DECLARE
// NOLINTEND(bugprone-macro-parentheses)

/// GDI+ itself.
LateLibrary& Library() noexcept;

}  // namespace veskard::gdip
