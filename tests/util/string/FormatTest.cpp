#include <gtest/gtest.h>

#include "util/string/strfmt.h"

namespace veskard {
namespace {

TEST(FormatTest, LaysOutIntegers) {
  EXPECT_EQ(FormatString("%5d|%-5d|%05d", 42, 42, -42), "   42|42   |-0042");
  EXPECT_EQ(FormatString("%:.3d %Z %f", 5, 123456789, 3.25), "0.005 117.7 MB 3.250000");
}

TEST(FormatTest, TakesStringsOfBothWidths) {
  EXPECT_EQ(FormatString("%s %S", "a", L"b"), "a b");
  EXPECT_EQ(FormatString(L"%s %S", L"a", "b"), L"a b");
}

}  // namespace
}  // namespace veskard
