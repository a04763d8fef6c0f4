#include "tools/shellprobe/PngFile.h"

#include <gtest/gtest.h>

#include "shellext/icons/GdiplusOwners.h"
#include "tests/support/ScratchFolder.h"
#include "tools/common/ToolError.h"

namespace veskard {
namespace {

// Reads the picture back with the system's own decoder.
Picture LoadPng(const std::wstring& file) {
  ULONG_PTR token = 0;
  const Gdiplus::GdiplusStartupInput input;
  Gdiplus::GdiplusStartup(&token, &input, nullptr);
  Picture picture;
  {
    UniqueGpBitmap bitmap;
    Gdiplus::DllExports::GdipCreateBitmapFromFile(file.c_str(), bitmap.Out());
    UINT width = 0;
    UINT height = 0;
    Gdiplus::DllExports::GdipGetImageWidth(bitmap.Get(), &width);
    Gdiplus::DllExports::GdipGetImageHeight(bitmap.Get(), &height);
    picture.width = static_cast<int>(width);
    picture.height = static_cast<int>(height);
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        Gdiplus::ARGB pixel = 0;
        Gdiplus::DllExports::GdipBitmapGetPixel(bitmap.Get(), x, y, &pixel);
        picture.pixels.push_back(pixel);
      }
    }
  }
  Gdiplus::GdiplusShutdown(token);
  return picture;
}

TEST(PngFileTest, PicturesComeBackPixelByPixel) {
  const test::ScratchFolder folder;
  const Picture picture = {3, 2, {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0x80FFFFFF, 0x00000000, 0xFF123456}};
  SavePng(picture, folder / L"p.png");
  const Picture back = LoadPng(folder / L"p.png");
  EXPECT_EQ(back.width, 3);
  EXPECT_EQ(back.height, 2);
  EXPECT_EQ(back.pixels, picture.pixels);
}

TEST(PngFileTest, AFolderThatIsNotThereIsAnError) {
  const test::ScratchFolder folder;
  EXPECT_THROW(SavePng({1, 1, {0}}, folder / L"missing\\p.png"), ToolError);
}

}  // namespace
}  // namespace veskard
