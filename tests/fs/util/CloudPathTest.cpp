#include "fs/util/CloudPath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace veskard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(CloudPathTest, RecognisesTheSchemeInLowerCaseOnly) {
  EXPECT_TRUE(IsCloudPath(L"cloud:"));
  EXPECT_TRUE(IsCloudPath(L"cloud:/a"));
  EXPECT_FALSE(IsCloudPath(L"cloud"));
  EXPECT_FALSE(IsCloudPath(L"Cloud:/a"));
  EXPECT_FALSE(IsCloudPath(L""));
}

TEST(CloudPathTest, TakesAnAddressApart) {
  const CloudPath address = ParseCloudPath(L"cloud:/s1//s2/s3/d/e.txt/");
  EXPECT_EQ(address.segment1, L"s1");
  EXPECT_EQ(address.segment2, L"s2");
  EXPECT_EQ(address.segment3, L"s3");
  EXPECT_EQ(address.relative, L"d/e.txt");
  EXPECT_THAT(address.tail, ElementsAre(L"d", L"e.txt"));
}

TEST(CloudPathTest, AnAddressMayEndAfterItsThirdSegment) {
  const CloudPath address = ParseCloudPath(L"cloud:/s1/s2/s3");
  EXPECT_EQ(address.segment3, L"s3");
  EXPECT_EQ(address.relative, L"");
  EXPECT_THAT(address.tail, IsEmpty());
}

class NoCloudPathTest : public testing::TestWithParam<const wchar_t*> {};

TEST_P(NoCloudPathTest, IsAllEmpty) {
  const CloudPath address = ParseCloudPath(GetParam());
  EXPECT_EQ(address.segment1 + address.segment2 + address.segment3 + address.relative, L"");
  EXPECT_THAT(address.tail, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Malformed, NoCloudPathTest,
                         testing::Values(L"", L"cloud:", L"cloud:/s1/s2", L"Cloud:/s1/s2/s3",
                                         L"cloud:s1/s2/s3/s4", L"x/cloud:/s1/s2/s3"));

TEST(CloudPathTest, RootJoinsTheSegmentsThatAreThere) {
  EXPECT_EQ(CloudRoot({L"s1", L"s2", L"s3", L"rest", {L"rest"}}), L"cloud://s1/s2/s3");
  EXPECT_EQ(CloudRoot({L"s1", L"s2", L"", L"", {}}), L"cloud://s1/s2/");
  EXPECT_EQ(CloudRoot({L"s1", L"", L"s3", L"", {}}), L"cloud://s1/s3");
  EXPECT_EQ(CloudRoot({}), L"cloud://");
}

}  // namespace
}  // namespace veskard
