// WashOut: makes a picture pale, as a sign that the file is not here.
#pragma once

#include "core/GdiplusOwners.h"

namespace veskard {

/// Blends every pixel with three quarters of white: a red, green or blue c becomes
/// the integer part of c × 0.25 + 191.25; alpha stays. False, and nothing changed,
/// when GDI+ refuses the pixels (a null bitmap among that).
bool WashOut(Gdiplus::GpBitmap* bitmap) noexcept;

}  // namespace veskard
