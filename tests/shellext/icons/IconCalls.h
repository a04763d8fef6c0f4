// What composing an icon calls: each way to fail, and what frees what they make.
#pragma once

#include "tests/support/WatchedCalls.h"

namespace veskard::test {

// clang-format off
inline const std::initializer_list<Watch> kIconCalls = {
    "GdipCreateBitmapFromScan0", "GdipCreateBitmapFromHBITMAP", "GdipCloneBitmapAreaI",
    "GdipGetImageGraphicsContext", "GdipCreatePen1", "GdipCreateSolidFill", "GdipBitmapLockBits",
    "GdipGetImageWidth", "GdipGetImageHeight", "GdipGetImagePixelFormat", "GdipDrawImageI",
    "GdipDrawImageRectI", "GdipFillEllipseI", "GdipDrawEllipseI", "GdipDrawArcI",
    "GdipDisposeImage", "GdipDeleteGraphics", "GdipDeletePen", "GdipDeleteBrush",
    "GdipBitmapUnlockBits", "CreateBitmap", "CreateDIBSection", "CreateIconIndirect", "GetDC",
    "GetIconInfo", "DuplicateIcon", "SHGetFileInfoW", "SHGetImageList"};
// clang-format on

}  // namespace veskard::test
