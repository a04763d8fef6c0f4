#include "shellext/module/Clock.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <ctime>

#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

TEST(ClockTest, CountsInSecondsSince1970) {
  const auto before = static_cast<uint64_t>(std::time(nullptr));
  const uint64_t now = SecondsSince1970();
  EXPECT_GE(now, before);
  EXPECT_LE(now, before + 2);
}

void WINAPI ReadNoClock(FILETIME* now) {
  *now = {};
}
void WINAPI ReadTheSecondBefore1970(FILETIME* now) {
  constexpr uint64_t kTicks = uint64_t{11'644'473'599} * 10'000'000;
  *now = {static_cast<DWORD>(kTicks), static_cast<DWORD>(kTicks >> 32)};
}

TEST(ClockTest, AClockThatCannotBeReadOrIsSetBefore1970CountsAsZero) {
  for (const auto clock : {&ReadNoClock, &ReadTheSecondBefore1970}) {
    const test::FunctionPatch patch(nullptr, "GetSystemTimeAsFileTime", clock);
    EXPECT_EQ(SecondsSince1970(), 0u);
  }
}

}  // namespace
}  // namespace veskard
