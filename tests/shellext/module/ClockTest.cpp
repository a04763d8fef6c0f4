#include "shellext/module/Clock.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <ctime>

#include "tests/support/Patched.h"

namespace veskard {
namespace {

TEST(ClockTest, CountsInSecondsSince1970) {
  const auto before = static_cast<uint64_t>(std::time(nullptr));
  const uint64_t now = SecondsSince1970();
  EXPECT_GE(now, before);
  EXPECT_LE(now, before + 2);
}

TEST(ClockTest, AClockThatCannotBeReadOrIsSetBefore1970CountsAsZero) {
  constexpr uint64_t kSecondBefore1970 = uint64_t{11'644'473'599} * 10'000'000;
  for (const uint64_t ticks : {uint64_t{0}, kSecondBefore1970}) {
    const test::Patched<&::GetSystemTimeAsFileTime> clock(
        "GetSystemTimeAsFileTime", [ticks](auto, FILETIME* now) {
          *now = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        });
    EXPECT_EQ(SecondsSince1970(), 0u);
  }
}

}  // namespace
}  // namespace veskard
