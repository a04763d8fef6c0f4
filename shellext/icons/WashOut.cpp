#include "shellext/icons/WashOut.h"

#include "shellext/bitmaps/GdiplusBitmap.h"

namespace veskard {
namespace {

// The integer part of c × 0.25 + 191.25 is 191 + (c + 1) / 4, and that is at most
// 255: the three colours fit side by side in one word, none carries into the next.
// The quarter is taken in two steps, c / 4 and whether c % 4 is 3, because c + 1
// itself would not fit.
constexpr uint32_t WashedOut(uint32_t pixel) noexcept {
  const uint32_t quarters = (pixel >> 2) & 0x3F3F3Fu;
  const uint32_t roundUp = (((pixel & 0x030303u) + 0x010101u) >> 2) & 0x010101u;
  return (pixel & 0xFF000000u) | (quarters + roundUp + 0xBFBFBFu);
}
static_assert(WashedOut(0x12000000) == 0x12BFBFBF);
static_assert(WashedOut(0xFFFFFFFF) == 0xFFFFFFFF);
static_assert(WashedOut(0x80020304) == 0x80BFC0C0);

// In blocks of a known size, which the compiler vectorises also when it optimises for
// size.
void WashOutRow(uint32_t* row, size_t width) noexcept {
  constexpr size_t kBlock = 8;
  size_t x = 0;
  for (; x + kBlock <= width; x += kBlock) {
    for (size_t i = x; i < x + kBlock; ++i) row[i] = WashedOut(row[i]);
  }
  for (; x < width; ++x) row[x] = WashedOut(row[x]);
}

}  // namespace

bool WashOut(Gdiplus::GpBitmap* bitmap) noexcept {
  const LockedBits bits(bitmap, PixelFormat32bppARGB);
  if (!bits) return false;
  for (UINT y = 0; y < bits.Height(); ++y) WashOutRow(bits.Row(y), bits.Width());
  return true;
}

}  // namespace veskard
