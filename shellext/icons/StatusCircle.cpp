#include "shellext/icons/StatusCircle.h"

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/module/Log.h"

namespace veskard {
namespace {

constexpr Gdiplus::ARGB kDiscColour = 0x96FFFFFF;  // white, alpha 150
constexpr Gdiplus::ARGB kRingColour = 0xFFB3B3B3;
constexpr Gdiplus::ARGB kArcColour = 0xFF00C3FF;

constexpr Gdiplus::REAL kStartAngle = -92;  // two degrees before twelve o'clock

// A circle in its square: position (of both axes) and size.
struct Circle {
  INT offset;
  INT size;
};

struct BadgeMeasures {
  Circle disc;
  Circle ring;
  INT penWidth;
};

// In whole numbers, since 0.7 x 90 is 63 and not the 62.99 of floating point.
constexpr INT Percent(UINT percent, UINT whole) noexcept {
  return static_cast<INT>(uint64_t{whole} * percent / 100);
}

// Offsets follow the width and sizes the height, also where they differ.
constexpr BadgeMeasures Measure(UINT width, UINT height) noexcept {
  return {.disc = {Percent(14, width), Percent(70, height)},
          .ring = {Percent(21, width), Percent(56, height)},
          .penWidth = static_cast<INT>(height / 16)};
}

// Gathers whether every step of a drawing worked.
class DrawingResult {
 public:
  void operator+=(Gdiplus::GpStatus status) noexcept { complete_ = complete_ && status == Gdiplus::Ok; }
  bool IsComplete() const noexcept { return complete_; }

 private:
  bool complete_ = true;
};

UniqueGpPen NewPen(Gdiplus::ARGB colour, Gdiplus::REAL width) noexcept {
  UniqueGpPen pen;
  gdip::GdipCreatePen1(colour, width, Gdiplus::UnitWorld, pen.Out());
  return pen;
}

UniqueGpBrush NewBrush(Gdiplus::ARGB colour) noexcept {
  Gdiplus::GpSolidFill* brush = nullptr;
  gdip::GdipCreateSolidFill(colour, &brush);
  return UniqueGpBrush(brush);
}

}  // namespace

bool DrawStatusCircle(Gdiplus::GpBitmap* bitmap, int32_t progress) noexcept {
  const BitmapShape shape = ShapeOf(bitmap);
  if (shape.IsEmpty()) return false;
  const auto [disc, ring, penWidth] = Measure(shape.width, shape.height);
  if (progress < 0) return true;

  Log(L"Drawing circle with %d status", progress);
  const UniqueGpGraphics graphics = GraphicsOn(bitmap);
  const UniqueGpBrush discBrush = NewBrush(kDiscColour);
  const UniqueGpPen ringPen = NewPen(kRingColour, static_cast<Gdiplus::REAL>(penWidth));
  const UniqueGpPen arcPen = NewPen(kArcColour, static_cast<Gdiplus::REAL>(penWidth * 1.5));
  const auto sweep = static_cast<Gdiplus::REAL>(progress / 100.0 * 360.0);

  DrawingResult result;
  result +=
      gdip::GdipFillEllipseI(graphics.Get(), discBrush.Get(), disc.offset, disc.offset, disc.size, disc.size);
  result +=
      gdip::GdipDrawEllipseI(graphics.Get(), ringPen.Get(), ring.offset, ring.offset, ring.size, ring.size);
  result += gdip::GdipDrawArcI(graphics.Get(), arcPen.Get(), ring.offset, ring.offset, ring.size, ring.size,
                               kStartAngle, sweep);
  return result.IsComplete();
}

}  // namespace veskard
