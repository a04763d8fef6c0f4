// The pictures as a menu gets them: loaded from this program's resources.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "shellext/bitmaps/IconBitmap.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestIcons.h"

namespace veskard {
namespace {

using test::Picture;
using test::PixelsOf;

constexpr WORD kStop = 107, kRemove = 108, kDestroy = 109, kSync = 110, kAgent = 111;
constexpr WORD kAll[] = {kStop, kRemove, kDestroy, kSync, kAgent};

// From the small check marks of a plain screen to those of one at 200 percent.
constexpr int kSmallestMark = 13, kLargestMark = 32;

UniqueIcon Load(WORD id, int size) {
  return UniqueIcon(static_cast<HICON>(
      ::LoadImageW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_ICON, size, size, 0)));
}

uint32_t AlphaOf(uint32_t pixel) {
  return pixel >> 24;
}

// The relative luminance of a colour, as accessibility guidelines define it.
double Luminance(uint32_t colour) {
  const auto linear = [](uint32_t channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour >> 16 & 255) + 0.7152 * linear(colour >> 8 & 255) +
         0.0722 * linear(colour & 255);
}

double Contrast(uint32_t one, uint32_t other) {
  const double a = Luminance(one) + 0.05, b = Luminance(other) + 0.05;
  return a > b ? a / b : b / a;
}

// A resource of type RT_GROUP_ICON: reserved, 1, count (16 bits each), then 14
// bytes an entry: width and height (0 for 256), ..., bits a pixel at offset 6.
std::set<int> SizesInResource(WORD id) {
  const HMODULE module = ::GetModuleHandleW(nullptr);
  const HRSRC resource = ::FindResourceW(module, MAKEINTRESOURCEW(id), RT_GROUP_ICON);
  const auto* data = static_cast<const BYTE*>(::LockResource(::LoadResource(module, resource)));
  if (data == nullptr) return {};
  std::set<int> sizes;
  for (const BYTE* entry = data + 6; entry < data + 6 + 14 * data[4]; entry += 14) {
    EXPECT_EQ(entry[6], 32) << "bits a pixel, icon " << id;
    EXPECT_EQ(entry[0], entry[1]) << "icon " << id;
    sizes.insert(entry[0] == 0 ? 256 : entry[0]);
  }
  return sizes;
}

TEST(MenuIconsTest, HoldEverySizeThatViewsAndMenusAskFor) {
  for (const WORD id : kAll) {
    const std::set<int> sizes = SizesInResource(id);
    for (const int view : {16, 20, 24, 32, 48, 256}) EXPECT_TRUE(sizes.contains(view)) << id << ", " << view;
    for (int mark = kSmallestMark; mark <= kLargestMark; mark += 2) {
      EXPECT_TRUE(sizes.contains(mark)) << id << ", " << mark;
    }
  }
}

TEST(MenuIconsTest, LoadAtEverySizeOfACheckMark) {
  for (const WORD id : kAll) {
    for (int size = kSmallestMark; size <= kLargestMark; ++size) {
      const Picture picture = PixelsOf(Load(id, size).Get());
      EXPECT_EQ(picture.width, size) << id;
      EXPECT_EQ(picture.height, size) << id;
    }
  }
}

TEST(MenuIconsTest, HaveSeeThroughCornersAndASolidShape) {
  for (const WORD id : kAll) {
    for (const int size : {16, 20, 24, 32, 48, 256}) {
      const Picture picture = PixelsOf(Load(id, size).Get());
      ASSERT_EQ(picture.width, size);
      EXPECT_EQ(AlphaOf(picture.At(0, 0)), 0u) << id << ", " << size;
      EXPECT_EQ(AlphaOf(picture.At(size - 1, size - 1)), 0u) << id << ", " << size;
      const auto solid = std::count_if(picture.pixels.begin(), picture.pixels.end(),
                                       [](uint32_t pixel) { return AlphaOf(pixel) == 255; });
      EXPECT_GT(solid, size * size / 5) << id << ", " << size;
    }
  }
}

// Straight edges lie on pixels: beside what is solid there is nothing half shown
// but the rounded corners.
TEST(MenuIconsTest, AreSharp) {
  for (const WORD id : {kStop, kRemove, kDestroy}) {
    for (int size = kSmallestMark; size <= kLargestMark; size += 2) {
      const Picture picture = PixelsOf(Load(id, size).Get());
      const auto blurred = std::count_if(picture.pixels.begin(), picture.pixels.end(), [](uint32_t pixel) {
        return AlphaOf(pixel) > 16 && AlphaOf(pixel) < 239;
      });
      EXPECT_LE(blurred, 20) << id << ", " << size;
    }
  }
}

TEST(MenuIconsTest, StandOutOnLightAndOnDarkMenus) {
  for (const WORD id : kAll) {
    const Picture picture = PixelsOf(Load(id, 16).Get());
    for (const uint32_t pixel : picture.pixels) {
      if (AlphaOf(pixel) < 255) continue;
      EXPECT_GE(Contrast(pixel, 0xF2F2F2), 3) << id;
      EXPECT_GE(Contrast(pixel, 0x2B2B2B), 3) << id;
    }
  }
}

// Apart in shape, not only in colour: many pixels that one has, the other lacks.
TEST(MenuIconsTest, AreToldApartByTheirShape) {
  for (const WORD one : kAll) {
    for (const WORD other : kAll) {
      if (one >= other) continue;
      const Picture a = PixelsOf(Load(one, 16).Get()), b = PixelsOf(Load(other, 16).Get());
      int different = 0;
      for (size_t i = 0; i < a.pixels.size(); ++i) {
        different += (AlphaOf(a.pixels[i]) > 127) != (AlphaOf(b.pixels[i]) > 127) ? 1 : 0;
      }
      EXPECT_GE(different, 40) << one << " and " << other;
    }
  }
}

TEST(MenuIconsTest, ConvertToBitmapsWithTheirAlpha) {
  const test::StartedGdiplus gdiplus;
  for (const WORD id : kAll) {
    const UniqueIcon icon = Load(id, 15);
    const UniqueGpBitmap bitmap = IconToBitmap(icon.Get());
    ASSERT_TRUE(bitmap) << id;
    const Picture fromIcon = PixelsOf(icon.Get()), fromBitmap = PixelsOf(bitmap.Get());
    ASSERT_EQ(fromIcon.pixels.size(), fromBitmap.pixels.size());
    for (size_t i = 0; i < fromIcon.pixels.size(); ++i) {
      EXPECT_EQ(AlphaOf(fromIcon.pixels[i]), AlphaOf(fromBitmap.pixels[i])) << id << ", pixel " << i;
    }
  }
}

}  // namespace
}  // namespace veskard
