// Years in an Explorer that never closes, and many of its threads at once.
#include <gtest/gtest.h>

// The process's memory counters need Windows' own types first.
#include <windows.h>

#include <psapi.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "shellext/module/GdiplusUser.h"
#include "shellext/module/Module.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/IconCalls.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::CacheSize;
using test::CountGdiHandles;
using test::ExtractedIcons;
using test::Golden;
using test::IconHandler;
using test::LooksLike;
using test::PixelsOf;
using test::SeeThroughPattern;
using test::SolidPattern;

std::wstring NameFor(int progress) {
  return L"file" + std::to_wstring(progress) + L".vks.ghpl";
}

size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}

// The system keeps as many screen contexts as were once in use together.
void FillDeviceContextCache() {
  std::vector<UniqueScreenDc> contexts;
  for (int i = 0; i < 8; ++i) contexts.emplace_back(::GetDC(nullptr));
}

class IconStressTest : public testing::Test {
 protected:
  IconStressTest() {
    for (int progress = 0; progress <= 100; progress += 5) {
      folder_.Mark(NameFor(progress), {progress});
      large_.push_back(test::GoldenIcon(test::DrawnOnEmpty(SeeThroughPattern(256)), progress));
      small_.push_back(test::GoldenIcon(test::DrawnOnEmpty(SolidPattern(16)), progress));
    }
    IconHandler(Placeholder(0)).Extract();  // fills the Shell's own caches
    FillDeviceContextCache();
  }

  std::wstring Placeholder(int progress) const { return folder_.Selective(NameFor(progress)); }

  void ExpectRightIcons(const ExtractedIcons& icons, int progress) const {
    const size_t step = static_cast<size_t>(progress / 5);
    EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), large_[step])) << progress;
    EXPECT_TRUE(LooksLike(PixelsOf(icons.small.Get()), small_[step])) << progress;
  }

  test::PlaceholderFolder folder_;
  const test::TestFileType type_{L"vks", {{SolidPattern(16)}, {SeeThroughPattern(256)}}};
  std::vector<Golden> large_, small_;
};

TEST_F(IconStressTest, TwentyThousandExtractionsLeaveNothingBehind) {
  const size_t gdiHandles = CountGdiHandles();
  {
    const test::WatchedCalls calls{test::kIconCalls};
    size_t memoryAfterWarmUp = 0;
    std::optional<IconHandler> handler;
    for (int i = 0; i < 20000; ++i) {
      // A new handler now and then, which empties the cache; now and then large icons.
      if (i % 50 == 0) handler.emplace();
      const int progress = i % 21 * 5;
      handler->Load(Placeholder(progress));
      const ExtractedIcons icons = handler->Extract(i % 100 == 0 ? test::kTwoSizes : test::kOneSize);
      ASSERT_TRUE(icons.large && icons.small) << "at " << i;
      ASSERT_EQ(calls.Holds(test::Held::kGdiplusObject), static_cast<ptrdiff_t>(CacheSize())) << "at " << i;
      if (i == 1000) memoryAfterWarmUp = PrivateBytes();
      if (i % 1000 == 0) ExpectRightIcons(icons, progress);
    }
    handler.reset();
    EXPECT_EQ(calls.Holds(test::Held::kGdiplusObject), 0);
    EXPECT_LT(PrivateBytes(), memoryAfterWarmUp + 1024 * 1024);
  }
  EXPECT_EQ(CountGdiHandles(), gdiHandles);
}

TEST_F(IconStressTest, FourThreadsExtractingAtOnceEachGetTheirOwnIcon) {
  const size_t gdiHandles = CountGdiHandles();
  const uint32_t moduleUsers = ModuleLockCount();
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([this, number] {
      const IconHandler handler;
      for (int i = 0; i < 200; ++i) {
        const int progress = (i * 4 + number) % 21 * 5;
        handler.Load(Placeholder(progress));
        ExpectRightIcons(handler.Extract(), progress);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(CacheSize(), 0u);
  EXPECT_EQ(CountGdiHandles(), gdiHandles);
  EXPECT_EQ(ModuleLockCount(), moduleUsers);
  EXPECT_EQ(GdiplusUserCount(), 0u);
}

// Every dying handler empties the cache that the others draw from, at any moment of
// their drawing, and the last one of a moment stops GDI+.
TEST_F(IconStressTest, HandlersMayDieWhileOthersDraw) {
  const size_t gdiHandles = CountGdiHandles();
  std::atomic<bool> stop = false;
  std::thread reaper([&stop] {
    while (!stop) {
      { const IconHandler handler; }
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> drawers;
  for (int number = 0; number < 3; ++number) {
    drawers.emplace_back([this, number] {
      for (int i = 0; i < 100; ++i) {
        const int progress = (i * 3 + number) % 21 * 5;
        ExpectRightIcons(IconHandler(Placeholder(progress)).Extract(), progress);
      }
    });
  }
  for (std::thread& drawer : drawers) drawer.join();
  stop = true;
  reaper.join();
  EXPECT_EQ(CacheSize(), 0u);
  EXPECT_EQ(CountGdiHandles(), gdiHandles);
  EXPECT_EQ(GdiplusUserCount(), 0u);
}

}  // namespace
}  // namespace veskard
