// Every call that composing makes fails once, one after the other; and how many
// calls it takes at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <span>
#include <thread>
#include <vector>

#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/IconCalls.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/TestFileType.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::EmptyCache;
using test::ExtractedIcons;
using test::FailedCall;
using test::Golden;
using test::IconHandler;
using test::LooksLike;
using test::Picture;
using test::PixelsOf;
using test::SolidPattern;

constexpr int kProgress = 45;

// Without these there is no icon; without those there is one all the same, which
// may lack its badge or a part of it. What both icon and badge need is in neither.
constexpr const char* kNeededForAnIcon[] = {"CreateBitmap",
                                            "CreateDIBSection",
                                            "CreateIconIndirect",
                                            "DuplicateIcon",
                                            "GdipBitmapLockBits",
                                            "GdipCloneBitmapAreaI",
                                            "GdipCreateBitmapFromHBITMAP",
                                            "GdipDrawImageI",
                                            "GetIconInfo",
                                            "SHGetFileInfoW",
                                            "SHGetImageList"};
constexpr const char* kNotNeededForAnIcon[] = {"none",
                                               "GdipCreatePen1",
                                               "GdipCreateSolidFill",
                                               "GdipDrawArcI",
                                               "GdipDrawEllipseI",
                                               "GdipDrawImageRectI",
                                               "GdipFillEllipseI",
                                               "GetDC"};

bool IsAmong(std::span<const char* const> names, const FailedCall& failed) {
  return std::any_of(names.begin(), names.end(), [&failed](const char* name) { return failed.Is(name); });
}

class IconFaultsTest : public testing::Test {
 protected:
  IconFaultsTest() {
    handler_.Extract();  // fills the Shell's own caches
    EmptyCache();
  }

  // No icon, or one that is right where no badge is drawn: a part of the badge may
  // be missing, everything else may not.
  static testing::AssertionResult IsNullOrRight(const UniqueIcon& icon, const Picture& own) {
    if (!icon) return testing::AssertionSuccess();
    const Picture washed = test::WashedOutGolden(own);
    const Picture badge = test::DrawnBadge(own.width, own.height, kProgress);
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

  test::WatchedCalls calls_{test::kIconCalls};
  const test::TestFileType type_{L"vkf", {{SolidPattern(16)}, {SolidPattern(256)}}};
  test::PlaceholderFolder folder_;
  const std::wstring report_ = folder_.Mark(L"report.vkf.ghpl", {kProgress});
  const IconHandler handler_{report_};
};

void IconFaultsTest::FailEveryCall(UINT iconSize, const Picture& largeOwn, const Picture& smallOwn) {
  const Golden large = test::GoldenIcon(largeOwn, kProgress), small = test::GoldenIcon(smallOwn, kProgress);
  const size_t gdiHandles = test::CountGdiHandles();
  ExtractedIcons icons;
  const auto check = [&](const FailedCall& failed) {
    SCOPED_TRACE(testing::Message() << failed);
    EXPECT_EQ(icons.result, S_OK);
    EXPECT_TRUE(IsNullOrRight(icons.large, largeOwn));
    EXPECT_TRUE(IsNullOrRight(icons.small, smallOwn));
    if (IsAmong(kNeededForAnIcon, failed)) {
      EXPECT_FALSE(icons.large && icons.small);
    }
    if (IsAmong(kNotNeededForAnIcon, failed)) {
      EXPECT_TRUE(icons.large && icons.small);
    }
    if (failed.Is("DuplicateIcon")) {
      EXPECT_TRUE(icons.large && !icons.small);
    }

    // Nothing of the failure stays behind: the next answer is right.
    icons = handler_.Extract(iconSize);
    EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), large));
    EXPECT_TRUE(LooksLike(PixelsOf(icons.small.Get()), small));
    icons = {};
    EmptyCache();
    EXPECT_EQ(calls_.Holds(test::Held::kGdiplusObject), 0);
    EXPECT_EQ(test::CountGdiHandles(), gdiHandles);
  };
  EXPECT_GT(calls_.FailEach([] {}, [&] { icons = handler_.Extract(iconSize); }, check), 37u);
}

TEST_F(IconFaultsTest, NoFailingCallHarmsALargeAndASmallIcon) {
  FailEveryCall(test::kTwoSizes, test::DrawnOnEmpty(SolidPattern(256)), test::DrawnOnEmpty(SolidPattern(16)));
}

TEST_F(IconFaultsTest, NoFailingCallHarmsASmallIconAndItsCopy) {
  const Picture small = test::DrawnOnEmpty(SolidPattern(16));
  FailEveryCall(test::kOneSize, small, small);
}

// --- What a request costs ----------------------------------------------------

class IconCostTest : public IconFaultsTest {
 protected:
  long BadgesDrawn() const { return calls_.Of("GdipDrawArcI"); }
  long TypesAskedFor() const { return calls_.Of("SHGetFileInfoW"); }

  // The steps that every request takes, then those that the cache spares it.
  std::vector<long> Calls() const {
    std::vector<long> calls;
    for (const char* step : {"GdipCloneBitmapAreaI", "GdipDrawImageRectI", "CreateIconIndirect",
                             "SHGetFileInfoW", "GdipDrawArcI", "GetIconInfo", "GdipCreateBitmapFromHBITMAP",
                             "GdipCreateBitmapFromScan0", "GdipDrawImageI"})
      calls.push_back(calls_.Of(step));
    return calls;
  }
};

TEST_F(IconCostTest, ARequestThatTheCacheCanAnswerIsOneCloneOneDrawAndOneConversion) {
  handler_.Extract();
  const std::vector<long> before = Calls();
  handler_.Extract();  // a large and a small icon
  std::vector<long> spent = Calls();
  for (size_t i = 0; i < spent.size(); ++i) spent[i] -= before[i];
  EXPECT_EQ(spent, (std::vector<long>{2, 2, 2, 0, 0, 0, 0, 0, 0}));
}

TEST_F(IconCostTest, ATypeIsFetchedOnceAndABadgeDrawnOnceInASizeClass) {
  const long badges = BadgesDrawn(), types = TypesAskedFor();
  for (int i = 0; i < 3; ++i) {
    for (int progress = 0; progress <= 100; progress += 5) {
      folder_.Mark(L"report.vkf.ghpl", {progress});
      handler_.Extract();
    }
  }
  EXPECT_EQ(BadgesDrawn() - badges, 2 * 21);
  EXPECT_EQ(TypesAskedFor() - types, 2);
}

TEST_F(IconCostTest, ThreadsThatAskAtOnceMakeAnEntryOnce) {
  const long badges = BadgesDrawn(), types = TypesAskedFor();
  std::deque<IconHandler> handlers;  // alive until the end: a dying one empties the cache
  for (int i = 0; i < 4; ++i) handlers.emplace_back(report_);
  std::atomic<int> ready = 0;
  std::vector<std::thread> threads;
  for (const IconHandler& handler : handlers) {
    threads.emplace_back([&handler, &ready] {
      ++ready;
      while (ready < 4) std::this_thread::yield();
      handler.Extract();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(BadgesDrawn() - badges, 2);
  EXPECT_EQ(TypesAskedFor() - types, 2);
}

}  // namespace
}  // namespace veskard
