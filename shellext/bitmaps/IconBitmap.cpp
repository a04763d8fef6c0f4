#include "shellext/bitmaps/IconBitmap.h"

#include "shellext/bitmaps/GdiplusBitmap.h"

namespace veskard {
namespace {

struct IconBitmaps {
  UniqueBitmap colours;
  UniqueBitmap mask;
};

// Icons without colours (monochrome ones) have a mask alone.
IconBitmaps BitmapsOf(HICON icon) noexcept {
  ICONINFO info = {};
  if (!::GetIconInfo(icon, &info)) return {};
  return {UniqueBitmap(info.hbmColor), UniqueBitmap(info.hbmMask)};
}

// A view of the locked memory as pixels with alpha; valid while the lock is held.
UniqueGpBitmap ViewWithAlpha(const LockedBits& bits) noexcept {
  UniqueGpBitmap view;
  gdip::GdipCreateBitmapFromScan0(static_cast<INT>(bits.Width()), static_cast<INT>(bits.Height()),
                                  bits.Stride(), PixelFormat32bppARGB, bits.FirstRow(), view.Out());
  return view;
}

bool DrawOnto(Gdiplus::GpBitmap* canvas, Gdiplus::GpBitmap* image) noexcept {
  const UniqueGpGraphics graphics = GraphicsOn(canvas);
  return gdip::GdipDrawImageI(graphics.Get(), image, 0, 0) == Gdiplus::Ok;
}

UniqueGpBitmap CopyWithAlpha(Gdiplus::GpBitmap* image, BitmapShape shape) noexcept {
  shape.format = PixelFormat32bppARGB;
  UniqueGpBitmap copy = NewBitmap(shape);
  if (!DrawOnto(copy.Get(), image)) return {};
  return copy;
}

BITMAPV5HEADER BottomUpArgbHeader(const BitmapShape& shape) noexcept {
  BITMAPV5HEADER header = {};
  header.bV5Size = sizeof(header);
  header.bV5Width = static_cast<LONG>(shape.width);
  header.bV5Height = static_cast<LONG>(shape.height);  // positive: the bottom row comes first
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5Compression = BI_BITFIELDS;
  header.bV5RedMask = 0x00FF0000;
  header.bV5GreenMask = 0x0000FF00;
  header.bV5BlueMask = 0x000000FF;
  header.bV5AlphaMask = 0xFF000000;
  return header;
}

// A DIB section and the memory that it keeps its pixels in.
struct PixelBuffer {
  UniqueBitmap bitmap;
  uint32_t* pixels = nullptr;
};

PixelBuffer NewPixelBuffer(const BitmapShape& shape) noexcept {
  const BITMAPV5HEADER header = BottomUpArgbHeader(shape);
  const UniqueScreenDc screen(::GetDC(nullptr));
  void* pixels = nullptr;
  UniqueBitmap bitmap(::CreateDIBSection(screen.Get(), reinterpret_cast<const BITMAPINFO*>(&header),
                                         DIB_RGB_COLORS, &pixels, nullptr, 0));
  return {std::move(bitmap), static_cast<uint32_t*>(pixels)};
}

void FillWithWhite(HBITMAP bitmap, const BitmapShape& shape) noexcept {
  const UniqueMemoryDc dc(::CreateCompatibleDC(nullptr));
  const HGDIOBJ before = ::SelectObject(dc.Get(), bitmap);
  ::PatBlt(dc.Get(), 0, 0, static_cast<int>(shape.width), static_cast<int>(shape.height), WHITENESS);
  ::SelectObject(dc.Get(), before);
}

// White, and over it the bitmap's pixels where they have the format to be copied.
// They then cover all of it, so that white is laid only where it stays.
PixelBuffer PixelsOf(Gdiplus::GpBitmap* bitmap, const BitmapShape& shape) noexcept {
  PixelBuffer buffer = NewPixelBuffer(shape);
  if (!buffer.bitmap) return {};
  if (shape.format != PixelFormat32bppARGB) {
    FillWithWhite(buffer.bitmap.Get(), shape);
    return buffer;
  }
  const LockedBits bits(bitmap, PixelFormat32bppARGB);
  if (!bits) return {};
  bits.CopyBottomUp(buffer.pixels);
  return buffer;
}

}  // namespace

UniqueGpBitmap IconToBitmap(HICON icon) noexcept {
  const IconBitmaps parts = BitmapsOf(icon);
  UniqueGpBitmap colours;
  gdip::GdipCreateBitmapFromHBITMAP(parts.colours.Get(), nullptr, colours.Out());
  const BitmapShape shape = ShapeOf(colours.Get());
  if (shape.IsEmpty()) return {};
  // Fewer bits than 32 have no room for alpha, and their rows must not be read as
  // if they had: such colours are taken as they are, opaque.
  if (Gdiplus::GetPixelFormatSize(shape.format) != 32) return CopyWithAlpha(colours.Get(), shape);

  // GDI+ drops the alpha of an HBITMAP but leaves the bytes in place. Seen as
  // pixels with alpha they are the icon's own; an icon without an alpha channel
  // has zeros there, so that it comes out transparent.
  const LockedBits bits(colours.Get(), shape.format);
  if (!bits) return {};
  return CopyWithAlpha(ViewWithAlpha(bits).Get(), shape);
}

UniqueIcon BitmapToIcon(Gdiplus::GpBitmap* bitmap) noexcept {
  const BitmapShape shape = ShapeOf(bitmap);
  if (shape.IsEmpty()) return {};
  const PixelBuffer buffer = PixelsOf(bitmap, shape);
  const UniqueBitmap mask(
      ::CreateBitmap(static_cast<int>(shape.width), static_cast<int>(shape.height), 1, 1, nullptr));
  if (!buffer.bitmap || !mask) return {};

  ICONINFO info = {};
  info.fIcon = TRUE;
  info.hbmMask = mask.Get();
  info.hbmColor = buffer.bitmap.Get();
  return UniqueIcon(::CreateIconIndirect(&info));
}

}  // namespace veskard
