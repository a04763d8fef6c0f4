// Every call that composing makes fails once, one after the other.
#include <gtest/gtest.h>

#include "core/CriticalSection.h"
#include "shellext/icons/IconCache.h"
#include "tests/shellext/icons/FakePlaceholders.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/IconFaults.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::ExtractedIcons;
using test::faultPlan;
using test::Golden;
using test::IconHandler;
using test::LooksLike;
using test::Picture;
using test::PixelsOf;
using test::SolidPattern;

constexpr wchar_t kReport[] = L"C:\\sync\\report.vkf.ghpl";
constexpr int kProgress = 45;

class IconFaultsTest : public testing::Test {
 protected:
  IconFaultsTest() {
    test::SetPlaceholder(kReport, {{kProgress, false}, true});
    const ExtractedIcons warmUp = handler_.Extract();
    EmptyCache();
  }
  ~IconFaultsTest() override { test::ForgetPlaceholders(); }

  static void EmptyCache() {
    const CriticalSectionHold hold(SharedIconCache().Lock());
    SharedIconCache().Clear();
  }

  // With nothing in the cache, so that every step is taken.
  ExtractedIcons ExtractWithFault(int failingCall, UINT iconSize) {
    EmptyCache();
    faultPlan.FailCall(failingCall);
    ExtractedIcons icons = handler_.Extract(iconSize);
    lastCalls_ = faultPlan.Calls();
    failed_ = faultPlan.Failed();
    faultPlan.FailCall(0);
    return icons;
  }

  // Without an icon, or with one that is right where no badge is drawn: a part of
  // the badge may be missing, everything else may not.
  static testing::AssertionResult IsNullOrRight(const UniqueIcon& icon, const Picture& own) {
    if (!icon) return testing::AssertionSuccess();
    const Picture washed = test::WashedOutGolden(own),
                  badge = test::DrawnBadge(own.width, own.height, kProgress);
    const Picture actual = PixelsOf(icon.Get());
    if (actual.width != own.width || actual.height != own.height)
      return testing::AssertionFailure() << "size";
    for (size_t i = 0; i < badge.pixels.size(); ++i) {
      if (badge.pixels[i] == 0 && actual.pixels[i] != washed.pixels[i]) {
        return testing::AssertionFailure() << "pixel " << i << " is " << std::hex << actual.pixels[i];
      }
    }
    return testing::AssertionSuccess();
  }

  void FailEveryCall(UINT iconSize, const Picture& largeOwn, const Picture& smallOwn);

  const test::IconFaultHooks hooks_;
  const test::TestFileType type_{L"vkf", {{SolidPattern(16)}, {SolidPattern(256)}}};
  const IconHandler handler_{kReport};
  int lastCalls_ = 0;
  std::string failed_;
};

void IconFaultsTest::FailEveryCall(UINT iconSize, const Picture& largeOwn, const Picture& smallOwn) {
  const Golden large = test::GoldenIcon(largeOwn, kProgress), small = test::GoldenIcon(smallOwn, kProgress);
  const size_t gdiHandles = test::CountGdiHandles();
  int call = 1;
  for (;; ++call) {
    {
      const ExtractedIcons icons = ExtractWithFault(call, iconSize);
      if (failed_.empty()) break;
      SCOPED_TRACE(failed_ + " as call " + std::to_string(call));
      EXPECT_EQ(icons.result, S_OK);
      EXPECT_TRUE(IsNullOrRight(icons.large, largeOwn));
      EXPECT_TRUE(IsNullOrRight(icons.small, smallOwn));

      // Nothing of the failure stays behind: the next answer is right.
      const ExtractedIcons next = handler_.Extract(iconSize);
      EXPECT_TRUE(LooksLike(PixelsOf(next.large.Get()), large));
      EXPECT_TRUE(LooksLike(PixelsOf(next.small.Get()), small));
    }
    EmptyCache();
    EXPECT_EQ(faultPlan.Live(), 0) << failed_ << " as call " << call;
    EXPECT_EQ(test::CountGdiHandles(), gdiHandles) << failed_ << " as call " << call;
  }
  EXPECT_EQ(lastCalls_, call - 1);
  EXPECT_GT(call, 40);
}

TEST_F(IconFaultsTest, NoFailingCallHarmsALargeAndASmallIcon) {
  FailEveryCall(test::kTwoSizes, test::DrawnOnEmpty(SolidPattern(256)), test::DrawnOnEmpty(SolidPattern(16)));
}

TEST_F(IconFaultsTest, NoFailingCallHarmsASmallIconAndItsCopy) {
  const Picture small = test::DrawnOnEmpty(SolidPattern(16));
  FailEveryCall(test::kOneSize, small, small);
}

TEST_F(IconFaultsTest, NoIconOfTheShellsGivesNoIconOfOurs) {
  for (int call = 1;; ++call) {
    const ExtractedIcons icons = ExtractWithFault(call, test::kTwoSizes);
    if (failed_.empty()) break;
    if (failed_ != "SHGetFileInfoW" && failed_ != "SHGetImageList") continue;
    EXPECT_EQ(icons.result, S_OK);
    EXPECT_TRUE(!icons.large || !icons.small) << failed_;
  }
}

}  // namespace
}  // namespace veskard
