#include "lang/ResourceData.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

TEST(ResourceDataTest, BytesThatAreThere) {
  const ResourceData data(nullptr, 201, L"BIN");
  EXPECT_EQ(data.Status(), DataStatus::kReady);
  EXPECT_EQ(data.Bytes(), "five\n");
}

TEST(ResourceDataTest, MissingNumber) {
  const ResourceData data(nullptr, 299, L"BIN");
  EXPECT_EQ(data.Status(), DataStatus::kMissing);
  EXPECT_EQ(data.Bytes(), "");
}

TEST(ResourceDataTest, MissingType) {
  EXPECT_EQ(ResourceData(nullptr, 201, L"TXT").Status(), DataStatus::kMissing);
}

TEST(ResourceDataTest, WithoutBytes) {
  const ResourceData data(nullptr, 202, L"BIN");
  EXPECT_EQ(data.Status(), DataStatus::kEmpty);
  EXPECT_EQ(data.Bytes(), "");
}

TEST(ResourceDataTest, NumbersOfTheStatus) {
  EXPECT_EQ(static_cast<int>(DataStatus::kReady), 0);
  EXPECT_EQ(static_cast<int>(DataStatus::kMissing), 2);
  EXPECT_EQ(static_cast<int>(DataStatus::kEmpty), 3);
}

}  // namespace
}  // namespace veskard
