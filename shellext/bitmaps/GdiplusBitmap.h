// Functions on GDI+ bitmaps, shared by all code that draws.
#pragma once

#include <cstdint>

#include "core/GdiplusOwners.h"

namespace veskard {

/// Size in pixels and pixel format of a bitmap.
struct BitmapShape {
  UINT width = 0;
  UINT height = 0;
  Gdiplus::PixelFormat format = PixelFormatUndefined;

  bool IsEmpty() const noexcept { return width == 0 || height == 0; }
};

// As everywhere in GDI+'s flat interface, a null argument is an error that the
// callee reports; here that means a default shape or an empty owner. Nothing throws.

/// The bitmap's shape, or the default one (no pixels) when GDI+ refuses any of it.
BitmapShape ShapeOf(Gdiplus::GpBitmap* bitmap) noexcept;

/// A new bitmap with all bytes zero (transparent, where the format has alpha).
UniqueGpBitmap NewBitmap(const BitmapShape& shape) noexcept;

/// A drawing surface on `bitmap`, which must outlive it.
UniqueGpGraphics GraphicsOn(Gdiplus::GpBitmap* bitmap) noexcept;

/// The pixels of a whole bitmap, locked for reading and writing for a scope.
/// Rows are counted from the top, whatever their order in memory.
class LockedBits {
 public:
  /// Locks in `format`; GDI+ converts where the bitmap has another one.
  LockedBits(Gdiplus::GpBitmap* bitmap, Gdiplus::PixelFormat format) noexcept;
  ~LockedBits();
  LockedBits(const LockedBits&) = delete;
  LockedBits& operator=(const LockedBits&) = delete;

  /// False when GDI+ refused; there are then no rows.
  explicit operator bool() const noexcept { return bitmap_ != nullptr; }

  UINT Width() const noexcept { return data_.Width; }
  UINT Height() const noexcept { return data_.Height; }

  /// Bytes from one row to the next; negative where the last row comes first.
  INT Stride() const noexcept { return data_.Stride; }
  BYTE* FirstRow() const noexcept { return static_cast<BYTE*>(data_.Scan0); }

  /// Row `y` of a bitmap locked in a format of 32 bits a pixel.
  uint32_t* Row(UINT y) const noexcept;

  /// Copies such a bitmap's pixels from the bottom row to the top one, the rows following
  /// one another without gaps.
  void CopyBottomUp(uint32_t* target) const noexcept;

 private:
  Gdiplus::GpBitmap* bitmap_;
  Gdiplus::BitmapData data_ = {};
};

}  // namespace veskard
