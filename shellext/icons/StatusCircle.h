// StatusCircle: the round badge that shows how far a download has come.
#pragma once

#include <cstdint>

#include "core/GdiplusOwners.h"

namespace veskard {

/// Draws the badge for `progress` percent into `bitmap`: a pale disc, a grey ring
/// on it, and over the ring a blue arc that grows clockwise from just before
/// twelve o'clock until it closes. Its measures follow the bitmap's size.
///
/// A null bitmap and a negative progress get nothing; every badge drawn is noted
/// in the log. True when all that was to be drawn is there; a step that GDI+
/// refuses is left out and the others follow.
bool DrawStatusCircle(Gdiplus::GpBitmap* bitmap, int32_t progress) noexcept;

}  // namespace veskard
