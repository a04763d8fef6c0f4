// Memory that ends at any moment.
#include <gtest/gtest.h>

#include "shellext/icons/ShellFileIcon.h"
#include "shellext/module/ClassFactory.h"
#include "shellext/module/GdiplusUser.h"
#include "shellext/module/Module.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/Faults.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::EmptyCache;
using test::FailEachAllocation;
using test::IconHandler;
using test::IsCacheFree;
using test::SolidPattern;

class IconMemoryTest : public testing::Test {
 protected:
  test::PlaceholderFolder folder_;
  // A name too long to be kept without the heap.
  const std::wstring report_ = folder_.Mark(L"a folder of some length\\report of last year.vkm.ghpl", {45});
  const test::TestFileType type_{L"vkm", {{SolidPattern(16)}, {SolidPattern(256)}}};
};

// The two are composed one after the other: what spoils one leaves the other right.
TEST_F(IconMemoryTest, ExtractSucceedsWithoutTheIconThatRanOutOfMemory) {
  const IconHandler handler(report_);
  handler.Extract();  // fills the Shell's own caches
  EmptyCache();
  EXPECT_TRUE(IsCacheFree());  // makes what a first thread makes
  const test::Golden goldenLarge = test::GoldenIcon(test::DrawnOnEmpty(SolidPattern(256)), 45);
  const test::Golden goldenSmall = test::GoldenIcon(test::DrawnOnEmpty(SolidPattern(16)), 45);
  const size_t gdiHandles = test::CountGdiHandles();
  HICON large = nullptr, small = nullptr;
  HRESULT result = E_UNEXPECTED;
  size_t withoutLarge = 0, withoutSmall = 0;
  const size_t failures = FailEachAllocation(
      [&] { result = handler.Icons().Extract(nullptr, 0, &large, &small, test::kTwoSizes); },
      [&](size_t number, bool threw, size_t blocksBefore) {
        EmptyCache();
        EXPECT_EQ(test::LiveBlocks(), blocksBefore) << number;
        EXPECT_FALSE(threw) << number;
        EXPECT_EQ(result, S_OK) << number;
        {
          const UniqueIcon largeIcon(large), smallIcon(small);
          if (!largeIcon) ++withoutLarge;
          if (!smallIcon) ++withoutSmall;
          EXPECT_TRUE(!largeIcon || test::LooksLike(test::PixelsOf(large), goldenLarge)) << number;
          EXPECT_TRUE(!smallIcon || test::LooksLike(test::PixelsOf(small), goldenSmall)) << number;
        }
        EXPECT_EQ(test::CountGdiHandles(), gdiHandles) << number;
        EXPECT_TRUE(IsCacheFree()) << number;
      });
  const UniqueIcon lastLarge(large), lastSmall(small);
  EXPECT_TRUE(lastLarge && lastSmall);
  EXPECT_GE(withoutLarge, 2u);
  EXPECT_GE(withoutSmall, 2u);
  EXPECT_EQ(withoutLarge + withoutSmall, failures);
}

TEST_F(IconMemoryTest, NoHandlerIsHalfMade) {
  IClassFactory* const factory = new ClassFactory<ShellFileIcon>();
  factory->AddRef();
  const uint32_t moduleUsers = ModuleLockCount();
  HRESULT result = S_OK;
  IUnknown* object = nullptr;
  const size_t failures = FailEachAllocation(
      [&] { result = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)); },
      [&](size_t number, bool threw, size_t blocksBefore) {
        EXPECT_EQ(test::LiveBlocks(), blocksBefore) << number;
        EXPECT_FALSE(threw) << number;
        EXPECT_EQ(result, E_OUTOFMEMORY) << number;
        EXPECT_EQ(object, nullptr) << number;
        EXPECT_EQ(ModuleLockCount(), moduleUsers) << number;
        EXPECT_EQ(GdiplusUserCount(), 0u) << number;
      });
  EXPECT_GE(failures, 1u);
  ASSERT_EQ(result, S_OK);
  object->Release();
  factory->Release();
}

}  // namespace
}  // namespace veskard
