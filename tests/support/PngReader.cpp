#include "tests/support/PngReader.h"

#include "core/GdiplusOwners.h"

namespace veskard::test {
namespace {

namespace gdip = Gdiplus::DllExports;

Picture Decode(const std::wstring& file) {
  UniqueGpBitmap bitmap;
  UINT width = 0, height = 0;
  gdip::GdipCreateBitmapFromFile(file.c_str(), bitmap.Out());
  gdip::GdipGetImageWidth(bitmap.Get(), &width);
  gdip::GdipGetImageHeight(bitmap.Get(), &height);
  Picture picture = {static_cast<int>(width), static_cast<int>(height), {}};
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      Gdiplus::ARGB pixel = 0;
      gdip::GdipBitmapGetPixel(bitmap.Get(), x, y, &pixel);
      picture.pixels.push_back(pixel);
    }
  }
  return picture;
}

}  // namespace

Picture LoadPng(const std::wstring& file) {
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  Gdiplus::GdiplusStartup(&token, &input, nullptr);
  Picture picture = Decode(file);
  Gdiplus::GdiplusShutdown(token);
  return picture;
}

}  // namespace veskard::test
