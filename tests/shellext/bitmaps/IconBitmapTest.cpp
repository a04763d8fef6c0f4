#include "shellext/bitmaps/IconBitmap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/GdiHandleCount.h"
#include "tests/support/Patched.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestIcons.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;
using test::CountGdiHandles;
using test::IconOf;
using test::Paint;
using test::Picture;
using test::PixelsOf;

class IconBitmapTest : public testing::Test {
 protected:
  const test::StartedGdiplus gdiplus_;
};

// Every pixel another colour, and every alpha from 0 to 255 among them.
Picture ManyColours(int width, int height) {
  return Paint(width, height, [width](int x, int y) {
    const uint32_t n = static_cast<uint32_t>(y * width + x);
    return (n % 256) << 24 | ((n * 7) % 256) << 16 | ((n * 13 + 5) % 256) << 8 | (n * 29 + 11) % 256;
  });
}

// Drawing a wholly transparent pixel onto an empty bitmap leaves it empty.
Picture WithoutHiddenColours(Picture picture) {
  for (uint32_t& pixel : picture.pixels) {
    if (pixel >> 24 == 0) pixel = 0;
  }
  return picture;
}

UniqueGpBitmap NewBitmapWith(const Picture& picture, Gdiplus::PixelFormat format = PixelFormat32bppARGB) {
  UniqueGpBitmap bitmap;
  gdip::GdipCreateBitmapFromScan0(picture.width, picture.height, 0, format, nullptr, bitmap.Out());
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      gdip::GdipBitmapSetPixel(bitmap.Get(), x, y, picture.At(x, y));
    }
  }
  return bitmap;
}

Gdiplus::PixelFormat FormatOf(const UniqueGpBitmap& bitmap) {
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  gdip::GdipGetImagePixelFormat(bitmap.Get(), &format);
  return format;
}

TEST_F(IconBitmapTest, BitmapOfAnIconKeepsEveryColourAndAlpha) {
  const Picture picture = ManyColours(32, 32);
  const UniqueGpBitmap bitmap = IconToBitmap(IconOf(picture).Get());
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(FormatOf(bitmap), PixelFormat32bppARGB);
  EXPECT_EQ(PixelsOf(bitmap.Get()), WithoutHiddenColours(picture));
}

TEST_F(IconBitmapTest, BitmapOfAnIconHasItsSize) {
  for (const int size : {1, 13, 16, 48, 256}) {
    const UniqueGpBitmap bitmap = IconToBitmap(IconOf(ManyColours(size, size)).Get());
    const Picture picture = PixelsOf(bitmap.Get());
    EXPECT_EQ(picture.width, size);
    EXPECT_EQ(picture.height, size);
  }
}

TEST_F(IconBitmapTest, AnIconNeedNotBeSquare) {
  const Picture picture = ManyColours(24, 10);
  EXPECT_EQ(PixelsOf(IconToBitmap(IconOf(picture).Get()).Get()), WithoutHiddenColours(picture));
}

TEST_F(IconBitmapTest, AnIconWithoutAnAlphaChannelComesOutTransparent) {
  const Picture opaqueToTheEye = Paint(16, 16, [](int, int) { return 0x00336699u; });
  const UniqueGpBitmap bitmap = IconToBitmap(IconOf(opaqueToTheEye).Get());
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(PixelsOf(bitmap.Get()), Picture(16, 16));
}

TEST_F(IconBitmapTest, NoBitmapComesOfNoIcon) {
  EXPECT_FALSE(IconToBitmap(nullptr));
}

TEST_F(IconBitmapTest, NoBitmapComesOfAnIconWithoutColours) {
  const UniqueIcon icon = test::MonochromeIcon(16);
  ASSERT_TRUE(icon);
  EXPECT_FALSE(IconToBitmap(icon.Get()));
}

// Such a bitmap comes of icons on a screen of few colours. There is none here, so
// the answer about the icon is changed.
struct FewColours {
  static constexpr int kSide = 32;  // no row has bytes to fill it up

  int bits;
  const test::Patched<&::GetIconInfo> patch{
      "GetIconInfo", [this](auto, HICON, ICONINFO* info) {
        *info = {TRUE, 0, 0, ::CreateBitmap(kSide, 2 * kSide, 1, 1, nullptr), nullptr};
        BITMAPINFO shape = {};
        shape.bmiHeader = {
            sizeof(shape.bmiHeader), kSide, -kSide, 1, static_cast<WORD>(bits), BI_RGB, 0, 0, 0, 0, 0};
        void* pixels = nullptr;
        info->hbmColor = ::CreateDIBSection(nullptr, &shape, DIB_RGB_COLORS, &pixels, nullptr, 0);
        std::memset(pixels, 0xFF, static_cast<size_t>(kSide * kSide * bits / 8));
        return TRUE;
      }};
};

TEST_F(IconBitmapTest, ColoursWithoutRoomForAlphaAreTakenOpaque) {
  const UniqueIcon icon = IconOf(ManyColours(32, 32));
  const size_t handles = CountGdiHandles();
  for (const int bits : {16, 24}) {
    const FewColours screen{.bits = bits};
    const UniqueGpBitmap bitmap = IconToBitmap(icon.Get());
    ASSERT_TRUE(bitmap) << bits;
    EXPECT_EQ(FormatOf(bitmap), PixelFormat32bppARGB);
    EXPECT_EQ(PixelsOf(bitmap.Get()), Paint(32, 32, [](int, int) { return 0xFFFFFFFFu; })) << bits;
  }
  EXPECT_EQ(CountGdiHandles(), handles);
}

// Refuses to draw, and remembers in which order things are given back.
struct RefusedDrawing {
  std::vector<std::string> givenBack;
  const test::Patched<&gdip::GdipDrawImageI> draw{"GdipDrawImageI",
                                                  [](auto...) { return Gdiplus::OutOfMemory; }};
  const test::Patched<&gdip::GdipDeleteGraphics> deleteGraphics{"GdipDeleteGraphics",
                                                                [this](auto original, auto* graphics) {
                                                                  givenBack.push_back("graphics");
                                                                  return original(graphics);
                                                                }};
  const test::Patched<&gdip::GdipDisposeImage> disposeImage{"GdipDisposeImage",
                                                            [this](auto original, auto* image) {
                                                              givenBack.push_back("image");
                                                              return original(image);
                                                            }};
};

TEST_F(IconBitmapTest, ARefusedDrawingGivesTheSurfaceBackBeforeItsBitmap) {
  const UniqueIcon icon = IconOf(ManyColours(16, 16));
  RefusedDrawing refused;
  EXPECT_FALSE(IconToBitmap(icon.Get()));
  // The surface and its bitmap; then the view of the pixels, and the colours.
  EXPECT_EQ(refused.givenBack, (std::vector<std::string>{"graphics", "image", "image", "image"}));
}

TEST_F(IconBitmapTest, NoBitmapComesOfADestroyedIcon) {
  UniqueIcon icon = IconOf(ManyColours(16, 16));
  const HICON gone = icon.Get();
  icon.Reset();
  EXPECT_FALSE(IconToBitmap(gone));
}

TEST_F(IconBitmapTest, IconOfABitmapKeepsEveryColourAndAlpha) {
  const Picture picture = ManyColours(32, 32);
  const UniqueIcon icon = BitmapToIcon(NewBitmapWith(picture).Get());
  ASSERT_TRUE(icon);
  EXPECT_EQ(PixelsOf(icon.Get()), picture);
}

TEST_F(IconBitmapTest, IconOfABitmapKeepsOddSizes) {
  for (const auto& [width, height] : {std::pair(1, 1), {13, 13}, {7, 20}, {33, 5}, {256, 256}}) {
    const Picture picture = ManyColours(width, height);
    EXPECT_EQ(PixelsOf(BitmapToIcon(NewBitmapWith(picture).Get()).Get()), picture);
  }
}

TEST_F(IconBitmapTest, IconOfABitmapIsNoCursorAndHasAMaskOfItsSize) {
  const UniqueIcon icon = BitmapToIcon(NewBitmapWith(ManyColours(16, 16)).Get());
  ICONINFO info = {};
  ASSERT_TRUE(::GetIconInfo(icon.Get(), &info));
  const UniqueBitmap colours(info.hbmColor), mask(info.hbmMask);
  EXPECT_TRUE(info.fIcon);
  BITMAP shape = {};
  ASSERT_NE(::GetObjectW(mask.Get(), sizeof(shape), &shape), 0);
  EXPECT_EQ(shape.bmBitsPixel, 1);
  EXPECT_EQ(shape.bmWidth, 16);
  EXPECT_EQ(shape.bmHeight, 16);
}

TEST_F(IconBitmapTest, ABitmapInAnotherFormatGivesAWhiteIcon) {
  const UniqueGpBitmap bitmap = NewBitmapWith(ManyColours(8, 8), PixelFormat24bppRGB);
  const UniqueIcon icon = BitmapToIcon(bitmap.Get());
  ASSERT_TRUE(icon);
  for (const uint32_t pixel : PixelsOf(icon.Get()).pixels) EXPECT_EQ(pixel & 0xFFFFFF, 0xFFFFFFu);
}

TEST_F(IconBitmapTest, NoIconComesOfNoBitmap) {
  EXPECT_FALSE(BitmapToIcon(nullptr));
}

TEST_F(IconBitmapTest, ThereAndBackIsTheSameIcon) {
  const Picture picture = WithoutHiddenColours(ManyColours(48, 48));
  const UniqueGpBitmap bitmap = IconToBitmap(IconOf(picture).Get());
  EXPECT_EQ(PixelsOf(BitmapToIcon(bitmap.Get()).Get()), picture);
}

TEST_F(IconBitmapTest, TwentyThousandConversionsLeaveNothingBehind) {
  const UniqueIcon icon = IconOf(ManyColours(16, 16));
  BitmapToIcon(IconToBitmap(icon.Get()).Get());
  const size_t before = CountGdiHandles();
  for (int i = 0; i < 20000; ++i) {
    ASSERT_TRUE(BitmapToIcon(IconToBitmap(icon.Get()).Get())) << "at " << i;
  }
  EXPECT_EQ(CountGdiHandles(), before);
}

TEST_F(IconBitmapTest, LiveIconsAreCounted) {
  const size_t before = CountGdiHandles();
  const UniqueIcon icon = IconOf(ManyColours(16, 16));
  EXPECT_GT(CountGdiHandles(), before);
}

}  // namespace
}  // namespace veskard
