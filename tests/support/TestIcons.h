// Icons that tests make pixel by pixel, and a way to look inside icons and GDI+
// bitmaps that shares nothing with the library's own conversions.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "core/GdiplusOwners.h"
#include "core/WindowsOwners.h"

namespace veskard::test {

/// The sizes that Explorer asks for, the large icon's in the lower half: two different
/// ones, or one twice.
inline constexpr UINT kTwoSizes = 0x00100020;
inline constexpr UINT kOneSize = 0x00300030;

/// Pixels as 0xAARRGGBB, rows from the top.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;

  Picture() = default;
  Picture(int pictureWidth, int pictureHeight)
      : width(pictureWidth),
        height(pictureHeight),
        pixels(static_cast<size_t>(pictureWidth) * static_cast<size_t>(pictureHeight)) {}

  uint32_t& At(int x, int y) { return pixels[static_cast<size_t>(y * width + x)]; }
  uint32_t At(int x, int y) const { return pixels[static_cast<size_t>(y * width + x)]; }
  bool operator==(const Picture&) const = default;
};

/// A picture whose pixel (x, y) is what `paint` answers.
Picture Paint(int width, int height, const std::function<uint32_t(int x, int y)>& paint);

/// An icon with these pixels and an empty mask.
UniqueIcon IconOf(const Picture& picture);

/// An icon that has a mask and no colour bitmap.
UniqueIcon MonochromeIcon(int size);

/// The colour bitmap's pixels, alpha bytes included; an empty picture for a null
/// or monochrome icon.
Picture PixelsOf(HICON icon);

/// The pixels of a GDI+ bitmap, asked for one at a time; an empty picture for null.
Picture PixelsOf(Gdiplus::GpBitmap* bitmap);

}  // namespace veskard::test
