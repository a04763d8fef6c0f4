#include "tests/support/TestIcons.h"

namespace veskard::test {
namespace {

BITMAPINFO TopDownInfo(int width, int height) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  return info;
}

UniqueBitmap EmptyMask(int width, int height) {
  // Rows of a monochrome bitmap fill whole words.
  const size_t rowBytes = static_cast<size_t>((width + 15) / 16 * 2);
  const std::vector<BYTE> zeros(rowBytes * static_cast<size_t>(height));
  return UniqueBitmap(::CreateBitmap(width, height, 1, 1, zeros.data()));
}

}  // namespace

Picture Paint(int width, int height, const std::function<uint32_t(int, int)>& paint) {
  Picture picture(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) picture.At(x, y) = paint(x, y);
  }
  return picture;
}

UniqueIcon IconOf(const Picture& picture) {
  const UniqueBitmap colours(::CreateBitmap(picture.width, picture.height, 1, 32, picture.pixels.data()));
  const UniqueBitmap mask = EmptyMask(picture.width, picture.height);
  ICONINFO info = {TRUE, 0, 0, mask.Get(), colours.Get()};
  return UniqueIcon(::CreateIconIndirect(&info));
}

UniqueIcon MonochromeIcon(int size) {
  // Without colours the mask is twice as high: what to keep, then what to invert.
  const UniqueBitmap mask = EmptyMask(size, 2 * size);
  ICONINFO info = {TRUE, 0, 0, mask.Get(), nullptr};
  return UniqueIcon(::CreateIconIndirect(&info));
}

Picture PixelsOf(HICON icon) {
  ICONINFO parts = {};
  if (!::GetIconInfo(icon, &parts)) return {};
  const UniqueBitmap colours(parts.hbmColor), mask(parts.hbmMask);
  BITMAP shape = {};
  if (::GetObjectW(colours.Get(), sizeof(shape), &shape) == 0) return {};
  Picture picture(shape.bmWidth, shape.bmHeight);
  BITMAPINFO info = TopDownInfo(picture.width, picture.height);
  const UniqueScreenDc screen(::GetDC(nullptr));
  ::GetDIBits(screen.Get(), colours.Get(), 0, static_cast<UINT>(picture.height), picture.pixels.data(), &info,
              DIB_RGB_COLORS);
  return picture;
}

Picture PixelsOf(Gdiplus::GpBitmap* bitmap) {
  namespace gdip = Gdiplus::DllExports;
  UINT width = 0, height = 0;
  if (gdip::GdipGetImageWidth(bitmap, &width) != Gdiplus::Ok) return {};
  if (gdip::GdipGetImageHeight(bitmap, &height) != Gdiplus::Ok) return {};
  return Paint(static_cast<int>(width), static_cast<int>(height), [bitmap](int x, int y) {
    Gdiplus::ARGB colour = 0;
    gdip::GdipBitmapGetPixel(bitmap, x, y, &colour);
    return uint32_t{colour};
  });
}

}  // namespace veskard::test
