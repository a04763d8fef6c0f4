#include "fs/util/SymlinkHandle.h"

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

class SymlinkHandleTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"link";
  SymlinkHandle link_{PathVector(path_)};
  uint32_t error_ = 77;
};

TEST_F(SymlinkHandleTest, HasNoTargetAtFirst) {
  EXPECT_EQ(link_.Target(), L"");
}

TEST_F(SymlinkHandleTest, WriteRecordsTheTargetAndReturnsItsLength) {
  EXPECT_EQ(link_.Write(L"C:\\target\x00FC", 4), 10u);  // the count plays no part
  EXPECT_EQ(link_.Target(), L"C:\\target\x00FC");
  EXPECT_EQ(link_.Write(L"", 100), 0u);
  EXPECT_EQ(link_.Target(), L"");
}

TEST_F(SymlinkHandleTest, WritingNullEmptiesTheTarget) {
  link_.Write(L"x", 2);
  EXPECT_EQ(link_.Write(nullptr, 0), 0u);
  EXPECT_EQ(link_.Target(), L"");
}

TEST_F(SymlinkHandleTest, NothingReachesTheDisk) {
  EXPECT_EQ(link_.Write(L"target", 12), 6u);
  EXPECT_TRUE(link_.Create());
  EXPECT_FALSE(test::Exists(path_));
}

TEST_F(SymlinkHandleTest, CreateSucceedsEvenWhileOpen) {
  test::WriteBytes(path_, "x");
  ASSERT_TRUE(link_.Open(0, 0, 0));
  EXPECT_TRUE(link_.Create());
  EXPECT_EQ(test::ReadBytes(path_), "x");
}

TEST_F(SymlinkHandleTest, OtherTransfersDoNothing) {
  test::WriteBytes(path_, "x");
  ASSERT_TRUE(link_.Open(1, 0, 0));
  char buffer[4];
  EXPECT_FALSE(link_.Seek(0));
  EXPECT_FALSE(link_.SetSize(0));
  EXPECT_FALSE(link_.SetValidData(0));
  EXPECT_EQ(link_.Read(buffer, 1), 0u);
  EXPECT_EQ(link_.ReadAt(buffer, 1, 0), 0u);
  EXPECT_EQ(link_.WriteAt("y", 1, 0), 0u);
  EXPECT_FALSE(link_.CopyFrom(path_, HandleKind::kFile));
  EXPECT_EQ(link_.LastError(), 0u);
  EXPECT_EQ(test::ReadBytes(path_), "x");
}

TEST_F(SymlinkHandleTest, TheRestIsAsForAFile) {
  test::WriteBytes(path_, "123");
  test::SetReadOnly(path_);
  EXPECT_EQ(link_.GetName(), L"link");
  EXPECT_EQ(link_.GetSize(&error_), 3u);
  EXPECT_GT(link_.GetModificationTime(&error_), 0);
  EXPECT_TRUE(link_.Open(0, 0, 0));
  EXPECT_TRUE(link_.IsOpen());
  link_.Close();
  EXPECT_FALSE(link_.Flush(&error_));
  EXPECT_EQ(error_, 87u);
  EXPECT_TRUE(link_.Delete(false, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(test::Exists(path_));
}

}  // namespace
}  // namespace veskard
