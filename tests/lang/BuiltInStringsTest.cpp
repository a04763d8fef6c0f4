#include "lang/BuiltInStrings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace veskard {
namespace {

TEST(BuiltInStringsTest, GivenNumbersHoldTheGivenTexts) {
  constexpr std::pair<size_t, std::string_view> kGiven[] = {
      {0, "B"},
      {1, "EB"},
      {2, "GB"},
      {3, "kB"},
      {4, "MB"},
      {5, "PB"},
      {6, "TB"},
      {7,
       "Could not update because it seems like %APPNAME% is already running.\r\n\r\n"
       "Please close %APPNAME% and try again."},
      {8, "Cancel"},
      {259, "Cancel receiving"},
      {260, "Remove from all devices"},
      {261, "Remove from this device"},
      {262, "Share with %APPNAME%"},
      {263, "Sync to this device"},
      {307, "Client version is up to date"},
  };
  for (const auto& [number, text] : kGiven) EXPECT_EQ(BuiltInString(number), text) << number;
}

TEST(BuiltInStringsTest, ThereAre309) {
  EXPECT_EQ(kStringCount, 309u);
  EXPECT_NE(BuiltInString(308), "");
  EXPECT_EQ(BuiltInString(309), "");
}

TEST(BuiltInStringsTest, EveryTextIsPrintableAsciiButForItsLineBreaks) {
  for (size_t number = 0; number < kStringCount; ++number) {
    const std::string_view text = BuiltInString(number);
    EXPECT_FALSE(text.empty()) << number;
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char character) {
      return (character >= ' ' && character <= '~') || character == '\r' || character == '\n';
    })) << number;
  }
}

TEST(BuiltInStringsTest, EveryTextIsFollowedByANul) {
  for (size_t number = 0; number < kStringCount; ++number) {
    const std::string_view text = BuiltInString(number);
    EXPECT_EQ(text.data()[text.size()], '\0') << number;
  }
}

}  // namespace
}  // namespace veskard
