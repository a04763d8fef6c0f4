#include "util/string/Timestamp.h"

#include <gtest/gtest.h>

#include "tests/support/Faults.h"

namespace veskard {
namespace {

TEST(TimestampTest, ShowsDateTimeAndMilliseconds) {
  const SYSTEMTIME time = {2026, 11, 0, 15, 23, 4, 5, 120};
  EXPECT_EQ(FormatTimestamp(time), "2026-11-15 23:04:05.120");
}

TEST(TimestampTest, PadsEveryField) {
  const SYSTEMTIME time = {2017, 3, 0, 1, 4, 5, 9, 7};
  EXPECT_EQ(FormatTimestamp(time), "2017-03-01 04:05:09.007");
}

TEST(TimestampTest, MidnightIsZero) {
  const SYSTEMTIME time = {1999, 12, 0, 31, 0, 0, 0, 0};
  EXPECT_EQ(FormatTimestamp(time), "1999-12-31 00:00:00.000");
}

TEST(TimestampTest, APartThatIsNoTimeStaysEmpty) {
  const SYSTEMTIME noDate = {2026, 13, 0, 15, 23, 4, 5, 120};
  EXPECT_EQ(FormatTimestamp(noDate), " 23:04:05.120");
  const SYSTEMTIME noTime = {2026, 11, 0, 15, 25, 4, 5, 120};
  EXPECT_EQ(FormatTimestamp(noTime), "2026-11-15 .120");
}

TEST(TimestampTest, EveryAllocationMayFail) {
  const SYSTEMTIME time = {2026, 11, 0, 15, 23, 4, 5, 120};
  std::string stamp;
  const size_t failed = test::FailEachAllocation([&] { stamp = FormatTimestamp(time); },
                                                 [&](size_t, bool threw, size_t blocks) {
                                                   EXPECT_TRUE(threw);
                                                   EXPECT_EQ(test::LiveBlocks(), blocks);
                                                   EXPECT_EQ(stamp, "");
                                                 });
  EXPECT_GT(failed, 0u);
}

}  // namespace
}  // namespace veskard
