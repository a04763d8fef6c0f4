#include "shellext/bitmaps/GdiplusBitmap.h"

#include <cstring>

namespace veskard {

BitmapShape ShapeOf(Gdiplus::GpBitmap* bitmap) noexcept {
  BitmapShape shape;
  const bool known = gdip::GdipGetImageWidth(bitmap, &shape.width) == Gdiplus::Ok &&
                     gdip::GdipGetImageHeight(bitmap, &shape.height) == Gdiplus::Ok &&
                     gdip::GdipGetImagePixelFormat(bitmap, &shape.format) == Gdiplus::Ok;
  return known ? shape : BitmapShape{};
}

UniqueGpBitmap NewBitmap(const BitmapShape& shape) noexcept {
  UniqueGpBitmap bitmap;
  gdip::GdipCreateBitmapFromScan0(static_cast<INT>(shape.width), static_cast<INT>(shape.height), 0,
                                  shape.format, nullptr, bitmap.Out());
  return bitmap;
}

UniqueGpGraphics GraphicsOn(Gdiplus::GpBitmap* bitmap) noexcept {
  UniqueGpGraphics graphics;
  gdip::GdipGetImageGraphicsContext(bitmap, graphics.Out());
  return graphics;
}

LockedBits::LockedBits(Gdiplus::GpBitmap* bitmap, Gdiplus::PixelFormat format) noexcept : bitmap_(bitmap) {
  const UINT readAndWrite = Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeWrite;
  if (gdip::GdipBitmapLockBits(bitmap, nullptr, readAndWrite, format, &data_) != Gdiplus::Ok) {
    bitmap_ = nullptr;
    data_ = {};
  }
}

LockedBits::~LockedBits() {
  if (bitmap_ != nullptr) gdip::GdipBitmapUnlockBits(bitmap_, &data_);
}

uint32_t* LockedBits::Row(UINT y) const noexcept {
  const ptrdiff_t offset = static_cast<ptrdiff_t>(y) * data_.Stride;
  return reinterpret_cast<uint32_t*>(FirstRow() + offset);
}

void LockedBits::CopyBottomUp(uint32_t* target) const noexcept {
  const size_t width = Width();
  for (UINT y = Height(); y > 0; --y, target += width) {
    std::memcpy(target, Row(y - 1), width * sizeof(uint32_t));
  }
}

}  // namespace veskard
