#include "shellext/module/Clock.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <ctime>

#include "tests/support/Patched.h"

namespace veskard {
namespace {

/// The local time of a second by the standard library's reckoning.
std::string LocalText(std::time_t second) {
  const std::tm parts = *std::localtime(&second);
  char text[32];
  std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S.000", &parts);
  return text;
}

TEST(LogTimeTest, NowIsShownInLocalTime) {
  const uint64_t now = SecondsSince1970();
  EXPECT_EQ(LogTimestamp(now), LocalText(static_cast<std::time_t>(now)));
}

TEST(LogTimeTest, SecondZeroIsTheStartOf1970InLocalTime) {
  TIME_ZONE_INFORMATION zone = {};
  const DWORD season = ::GetTimeZoneInformation(&zone);
  const LONG bias = zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : 0);
  if (bias <= 0) {
    char expected[32];
    std::snprintf(expected, sizeof(expected), "1970-01-01 %02ld:%02ld:00.000", -bias / 60, -bias % 60);
    EXPECT_EQ(LogTimestamp(0), expected);
  } else {
    EXPECT_EQ(LogTimestamp(0).substr(0, 10), "1969-12-31");
  }
}

TEST(LogTimeTest, FollowsTheSystemsZone) {
  // Two hours and a half ahead: the zone of the machine that runs the tests may well
  // be that of universal time.
  const test::Patched<&::FileTimeToLocalFileTime> zone(
      "FileTimeToLocalFileTime", [](auto, const FILETIME* universal, FILETIME* local) {
        ULARGE_INTEGER ticks = {{universal->dwLowDateTime, universal->dwHighDateTime}};
        ticks.QuadPart += uint64_t{150} * 60 * 10'000'000;
        *local = {ticks.LowPart, ticks.HighPart};
        return TRUE;
      });
  EXPECT_EQ(LogTimestamp(1488377109), "2017-03-01 16:35:09.000");
  EXPECT_EQ(LogTimestamp(0), "1970-01-01 02:30:00.000");
}

TEST(LogTimeTest, MillisecondsAreZero) {
  for (const uint64_t second : {uint64_t{0}, uint64_t{1488377109}, uint64_t{4294967296}})
    EXPECT_EQ(LogTimestamp(second).substr(19), ".000");
}

}  // namespace
}  // namespace veskard
