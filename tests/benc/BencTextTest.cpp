#include <gtest/gtest.h>

#include "tests/support/BencTesting.h"

namespace veskard {
namespace {

TEST(BencTextTest, ConvertsAStringFromUtf8) {
  EXPECT_EQ(BencValue::FromString("Ann").AsWString(), L"Ann");
  EXPECT_EQ(BencValue::FromString("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80").AsWString(),
            L"\u00e4\u20ac\U0001f600");
  EXPECT_EQ(BencValue::FromString("").AsWString(), L"");
}

TEST(BencTextTest, KeepsNuls) {
  EXPECT_EQ(BencValue::FromString(std::string_view("a\0b", 3)).AsWString(), std::wstring(L"a\0b", 3));
}

TEST(BencTextTest, OtherKindsHaveNoText) {
  EXPECT_EQ(BencValue().AsWString(), L"");
  EXPECT_EQ(BencValue::FromInt32(65).AsWString(), L"");
  EXPECT_EQ(BencValue::FromBool(true).AsWString(), L"");
  EXPECT_EQ(test::Parsed("l1:ae").AsWString(), L"");
  EXPECT_EQ(test::Parsed("d1:a1:be").AsWString(), L"");
}

}  // namespace
}  // namespace veskard
