// Conversions between icons and GDI+ bitmaps that keep the alpha channel.
#pragma once

#include "core/GdiplusOwners.h"
#include "core/WindowsOwners.h"

namespace veskard {

/// A new 32-bit ARGB bitmap with the icon's colours and its alpha channel; empty
/// for a null icon and when GDI+ refuses. GDI+ must be running. Nothing throws.
UniqueGpBitmap IconToBitmap(HICON icon) noexcept;

/// A new icon with the bitmap's pixels; empty for a null bitmap and on failure.
UniqueIcon BitmapToIcon(Gdiplus::GpBitmap* bitmap) noexcept;

}  // namespace veskard
