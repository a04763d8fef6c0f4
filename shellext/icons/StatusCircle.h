// StatusCircle: the round badge that shows how far a download has come.
#pragma once

#include <cstdint>

#include "core/GdiplusOwners.h"

namespace veskard {

/// Draws the badge for `progress` percent into `bitmap`: a pale disc, a grey ring
/// on it, and over the ring a blue arc that grows clockwise from just before
/// twelve o'clock until it closes. Its measures depend on the bitmap's size.
///
/// Draws nothing for a null bitmap and for a negative progress. Each badge drawn is a
/// line of the log. True when every step succeeded; a step that GDI+ refuses is left out
/// and the others follow.
bool DrawStatusCircle(Gdiplus::GpBitmap* bitmap, int32_t progress) noexcept;

}  // namespace veskard
