#include "shellext/icons/StatusCircle.h"

#include <gtest/gtest.h>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/support/StartedGdiplus.h"

namespace veskard {
namespace {

using test::BadgeColourByGeometry;
using test::DrawnBadge;
using test::Picture;
using test::PixelsOf;

constexpr uint32_t kNothing = 0, kDisc = 0x96FFFFFF, kRing = 0xFFB3B3B3, kArc = 0xFF00C3FF;

class StatusCircleTest : public testing::Test {
 protected:
  static UniqueGpBitmap Empty(UINT width, UINT height) {
    return NewBitmap({width, height, PixelFormat32bppARGB});
  }
  static Picture Badge(UINT width, UINT height, int progress) {
    const UniqueGpBitmap bitmap = Empty(width, height);
    EXPECT_TRUE(DrawStatusCircle(bitmap.Get(), progress));
    return PixelsOf(bitmap.Get());
  }

  const test::StartedGdiplus gdiplus_;
};

TEST_F(StatusCircleTest, IsWhatGdiplusDrawsForTheDocumentedMeasures) {
  for (const UINT size : {16u, 20u, 24u, 32u, 40u, 48u, 90u, 96u, 180u, 256u}) {
    for (int progress = 0; progress <= 100; progress += 5) {
      const int side = static_cast<int>(size);
      EXPECT_EQ(Badge(size, size, progress), DrawnBadge(side, side, progress)) << size << ", " << progress;
    }
  }
}

TEST_F(StatusCircleTest, FollowsTheWidthForOffsetsAndTheHeightForSizes) {
  EXPECT_EQ(Badge(100, 60, 35), DrawnBadge(100, 60, 35));
  EXPECT_EQ(Badge(60, 100, 35), DrawnBadge(60, 100, 35));
}

TEST_F(StatusCircleTest, HasTheColoursThatGeometryGives) {
  for (int progress = 0; progress <= 100; progress += 5) {
    const Picture badge = Badge(256, 256, progress);
    int compared = 0;
    for (int y = 0; y < 256; ++y) {
      for (int x = 0; x < 256; ++x) {
        const auto expected = BadgeColourByGeometry(256, 256, progress, x, y);
        if (!expected) continue;
        ++compared;
        ASSERT_EQ(badge.At(x, y), *expected) << "(" << x << ", " << y << ") at " << progress;
      }
    }
    EXPECT_GT(compared, 256 * 256 * 9 / 10);  // edges are few
  }
}

// On 256 pixels the disc starts at 35 and measures 179, the ring starts at 53 and
// measures 143, the pens are 16 and 24 wide.
TEST_F(StatusCircleTest, LiesWhereDocumentedOn256Pixels) {
  const Picture badge = Badge(256, 256, 0);
  const int middle = 53 + 143 / 2;
  EXPECT_EQ(badge.At(33, 35 + 179 / 2), kNothing);
  EXPECT_EQ(badge.At(37, 35 + 179 / 2), kDisc);
  EXPECT_EQ(badge.At(53 - 8 - 2, middle), kDisc);
  EXPECT_EQ(badge.At(53 - 8 + 2, middle), kRing);
  EXPECT_EQ(badge.At(53 + 8 - 2, middle), kRing);
  EXPECT_EQ(badge.At(53 + 8 + 2, middle), kDisc);
  EXPECT_EQ(badge.At(35 + 179 - 2, 35 + 179 / 2), kDisc);
  EXPECT_EQ(badge.At(35 + 179 + 2, 35 + 179 / 2), kNothing);
}

TEST_F(StatusCircleTest, ProgressZeroIsDiscAndRingAlone) {
  for (const UINT size : {16u, 256u}) {
    for (const uint32_t pixel : Badge(size, size, 0).pixels) {
      EXPECT_TRUE(pixel == kNothing || pixel == kDisc || pixel == kRing) << std::hex << pixel;
    }
  }
}

TEST_F(StatusCircleTest, ProgressHundredClosesTheRing) {
  const Picture badge = Badge(256, 256, 100);
  const auto blue = std::count(badge.pixels.begin(), badge.pixels.end(), kArc);
  const auto grey = std::count(badge.pixels.begin(), badge.pixels.end(), kRing);
  EXPECT_LE(grey, blue / 500);  // at most a slit where the ends meet
}

TEST_F(StatusCircleTest, ProgressFiftyIsTheRightHalf) {
  const Picture badge = Badge(256, 256, 50);
  const int middle = 53 + 143 / 2, top = 53, bottom = 53 + 143, left = 53, right = 53 + 143;
  EXPECT_EQ(badge.At(right, middle), kArc);
  EXPECT_EQ(badge.At(left, middle), kRing);
  EXPECT_EQ(badge.At(middle, top), kArc);         // it starts before twelve o'clock
  EXPECT_EQ(badge.At(middle - 8, top), kRing);    // but not long before
  EXPECT_EQ(badge.At(middle + 8, bottom), kArc);  // and ends before six
  EXPECT_EQ(badge.At(middle - 8, bottom), kRing);
}

TEST_F(StatusCircleTest, GrowsWithEveryStep) {
  std::ptrdiff_t before = 0;
  for (int progress = 5; progress <= 100; progress += 5) {
    const Picture badge = Badge(256, 256, progress);
    const auto blue = std::count(badge.pixels.begin(), badge.pixels.end(), kArc);
    EXPECT_GT(blue, before) << progress;
    before = blue;
  }
}

TEST_F(StatusCircleTest, NegativeProgressDrawsNothing) {
  for (const int progress : {-1, -5, INT32_MIN}) EXPECT_EQ(Badge(32, 32, progress), Picture(32, 32));
}

TEST_F(StatusCircleTest, NoBitmapIsNoMatter) {
  EXPECT_FALSE(DrawStatusCircle(nullptr, 50));
  EXPECT_FALSE(DrawStatusCircle(nullptr, -1));
}

TEST_F(StatusCircleTest, SizesTooSmallForAPenStillDraw) {
  for (const UINT size : {1u, 2u, 7u, 15u}) {
    const UniqueGpBitmap bitmap = Empty(size, size);
    DrawStatusCircle(bitmap.Get(), 50);
    EXPECT_EQ(PixelsOf(bitmap.Get()).width, static_cast<int>(size));
  }
}

}  // namespace
}  // namespace veskard
