#include "shellext/ClassIds.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <string>

namespace veskard {
namespace {

TEST(ClassIdsTest, TextsHoldIndexAndVersion) {
  EXPECT_STREQ(ClassIdText(0), L"{8AF59400-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(1), L"{8AF59401-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(2), L"{8AF59402-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(3), L"{8AF59403-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(4), L"{8AF59404-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(5), L"{8AF59405-CC05-0002-0702-AE6472CC92B2}");
  EXPECT_STREQ(ClassIdText(6), L"{8AF59406-CC05-0002-0702-AE6472CC92B2}");
}

TEST(ClassIdsTest, BinaryIdentifiersAreWhatTheTextsSay) {
  for (unsigned index = 0; index < kClassIdCount; ++index) {
    GUID parsed = {};
    ASSERT_EQ(::CLSIDFromString(ClassIdText(index), &parsed), S_OK);
    const GUID formed = ClassId(index);
    EXPECT_TRUE(::IsEqualGUID(parsed, formed)) << index;
  }
}

TEST(ClassIdsTest, ADifferenceInEitherHalfTells) {
  EXPECT_TRUE(SameClassId(ClassId(5), ClassId(5)));
  EXPECT_FALSE(SameClassId(ClassId(5), ClassId(6)));
  GUID other = ClassId(5);
  other.Data4[7] ^= 1;
  EXPECT_FALSE(SameClassId(ClassId(5), other));
}

}  // namespace
}  // namespace veskard
