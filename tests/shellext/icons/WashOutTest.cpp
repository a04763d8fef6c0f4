#include "shellext/icons/WashOut.h"

#include <gtest/gtest.h>

#include <chrono>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/support/StartedGdiplus.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;
using test::Paint;
using test::Picture;
using test::PixelsOf;

class WashOutTest : public testing::Test {
 protected:
  static UniqueGpBitmap BitmapOf(const Picture& picture, Gdiplus::PixelFormat format = PixelFormat32bppARGB) {
    UniqueGpBitmap bitmap =
        NewBitmap({static_cast<UINT>(picture.width), static_cast<UINT>(picture.height), format});
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        gdip::GdipBitmapSetPixel(bitmap.Get(), x, y, picture.At(x, y));
      }
    }
    return bitmap;
  }
  static Picture Washed(const Picture& picture) {
    const UniqueGpBitmap bitmap = BitmapOf(picture);
    EXPECT_TRUE(WashOut(bitmap.Get()));
    return PixelsOf(bitmap.Get());
  }

  const test::StartedGdiplus gdiplus_;
};

TEST_F(WashOutTest, BlackBecomesLightGreyAndWhiteStays) {
  Picture two(2, 1);
  two.At(0, 0) = 0xFF000000;
  two.At(1, 0) = 0xFFFFFFFF;
  const Picture washed = Washed(two);
  EXPECT_EQ(washed.At(0, 0), 0xFFBFBFBFu);  // 191, 191, 191
  EXPECT_EQ(washed.At(1, 0), 0xFFFFFFFFu);
}

TEST_F(WashOutTest, EveryValueOfEveryChannelBeforeEveryNeighbour) {
  for (uint32_t other : {0u, 1u, 2u, 3u, 127u, 254u, 255u}) {
    const Picture picture = Paint(256, 3, [other](int x, int channel) {
      const uint32_t others = other << 16 | other << 8 | other;
      const int shift = 8 * channel;
      return 0xFF000000u | (others & ~(255u << shift)) | static_cast<uint32_t>(x) << shift;
    });
    EXPECT_EQ(Washed(picture), test::WashedOutGolden(picture)) << other;
  }
}

TEST_F(WashOutTest, CutsTheFractionOff) {
  Picture four(4, 1);
  for (int i = 0; i < 4; ++i) four.At(i, 0) = 0xFF000000u + static_cast<uint32_t>(i);
  const Picture washed = Washed(four);  // 191.25, 191.5, 191.75, 192
  EXPECT_EQ(washed.At(0, 0) & 255, 191u);
  EXPECT_EQ(washed.At(1, 0) & 255, 191u);
  EXPECT_EQ(washed.At(2, 0) & 255, 191u);
  EXPECT_EQ(washed.At(3, 0) & 255, 192u);
}

TEST_F(WashOutTest, EveryAlphaStaysAsItIs) {
  const Picture picture =
      Paint(256, 1, [](int x, int) { return static_cast<uint32_t>(x) << 24 | 0x102030u; });
  const Picture washed = Washed(picture);
  for (int x = 0; x < 256; ++x) EXPECT_EQ(washed.At(x, 0) >> 24, static_cast<uint32_t>(x));
}

TEST_F(WashOutTest, ColoursThatNobodySeesAreWashedOutToo) {
  EXPECT_EQ(Washed(Picture(1, 1)).At(0, 0), 0x00BFBFBFu);
}

TEST_F(WashOutTest, OddWidthsAreDoneToTheLastPixel) {
  for (int width = 1; width <= 37; ++width) {
    const Picture picture =
        Paint(width, 2, [](int x, int y) { return 0xFF000000u + static_cast<uint32_t>(x * 77 + y); });
    EXPECT_EQ(Washed(picture), test::WashedOutGolden(picture)) << width;
  }
}

TEST_F(WashOutTest, NoBitmapIsNotWashedOut) {
  EXPECT_FALSE(WashOut(nullptr));
}

TEST_F(WashOutTest, ABitmapThatIsLockedIsLeftAlone) {
  const Picture picture(4, 4);
  const UniqueGpBitmap bitmap = BitmapOf(picture);
  {
    const LockedBits lock(bitmap.Get(), PixelFormat32bppARGB);
    ASSERT_TRUE(lock);
    EXPECT_FALSE(WashOut(bitmap.Get()));
  }
  EXPECT_EQ(PixelsOf(bitmap.Get()), picture);
}

}  // namespace
}  // namespace veskard
