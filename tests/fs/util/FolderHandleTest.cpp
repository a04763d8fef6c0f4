#include "fs/util/FolderHandle.h"

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::MakeFolder;
using test::WriteBytes;

class FolderHandleTest : public testing::Test {
 protected:
  test::ScratchFolder root_;
  const std::wstring path_ = root_ / L"folder";
  FolderHandle folder_{PathVector(path_)};
  uint32_t error_ = 77;
};

TEST_F(FolderHandleTest, TransfersDoNothing) {
  MakeFolder(path_);
  ASSERT_TRUE(folder_.Open(3, 0, 0));
  char buffer[4];
  EXPECT_FALSE(folder_.Seek(0));
  EXPECT_FALSE(folder_.SetSize(0));
  EXPECT_FALSE(folder_.SetValidData(0));
  EXPECT_EQ(folder_.Read(buffer, 4), 0u);
  EXPECT_EQ(folder_.ReadAt(buffer, 4, 0), 0u);
  EXPECT_EQ(folder_.Write("x", 1), 0u);
  EXPECT_EQ(folder_.WriteAt("x", 1, 0), 0u);
  EXPECT_FALSE(folder_.CopyFrom(path_, HandleKind::kFile));
  EXPECT_FALSE(folder_.CopyFrom(path_, HandleKind::kFolder));
  EXPECT_EQ(folder_.LastError(), 0u);
}

TEST_F(FolderHandleTest, OpensForQueries) {
  EXPECT_FALSE(folder_.Open(3, 0, 0));
  EXPECT_EQ(folder_.LastError(), 2u);
  MakeFolder(path_);
  EXPECT_TRUE(folder_.Open(3, 0, 0));
  EXPECT_TRUE(folder_.IsOpen());
  folder_.Close();
  EXPECT_FALSE(folder_.IsOpen());
}

TEST_F(FolderHandleTest, FlushingAClosedFolderFailsWith87) {
  EXPECT_FALSE(folder_.Flush(&error_));
  EXPECT_EQ(error_, 87u);
}

TEST_F(FolderHandleTest, HasATimeAndNoSize) {
  MakeFolder(path_);
  EXPECT_EQ(folder_.GetSize(&error_), 0u);
  EXPECT_EQ(error_, 0u);
  EXPECT_GT(folder_.GetModificationTime(&error_), 1700000000);
  EXPECT_EQ(error_, 0u);
}

TEST_F(FolderHandleTest, CreateMakesEveryMissingLevel) {
  FolderHandle deep{PathVector(root_ / L"a\\b\\c\\d")};
  EXPECT_TRUE(deep.Create());
  EXPECT_TRUE(Exists(root_ / L"a\\b\\c\\d"));
  EXPECT_EQ(deep.LastError(), 0u);
  EXPECT_FALSE(deep.IsOpen());
}

TEST_F(FolderHandleTest, CreateOfAnExistingFolderSucceeds) {
  MakeFolder(path_);
  EXPECT_TRUE(folder_.Create());
  EXPECT_TRUE(folder_.Create());
}

TEST_F(FolderHandleTest, CreateOfARootSucceedsWhenItIsThere) {
  FolderHandle present{PathVector(L"C:\\")};
  EXPECT_TRUE(present.Create());
  FolderHandle missing{PathVector(L"Q:\\")};
  EXPECT_FALSE(missing.Create());
  EXPECT_NE(missing.LastError(), 0u);
}

TEST_F(FolderHandleTest, CreateOfNothingFailsWith3) {
  FolderHandle nothing{PathVector(L"")};
  EXPECT_FALSE(nothing.Create());
  EXPECT_EQ(nothing.LastError(), 3u);
}

TEST_F(FolderHandleTest, CreateWhereAFileStandsFailsWith183) {
  WriteBytes(path_, "1");
  EXPECT_FALSE(folder_.Create());
  EXPECT_EQ(folder_.LastError(), 183u);
  FolderHandle below{PathVector(path_ + L"\\below")};
  EXPECT_FALSE(below.Create());
  EXPECT_EQ(below.LastError(), 183u);
  EXPECT_EQ(test::ReadBytes(path_), "1");
}

TEST_F(FolderHandleTest, CreateThroughTheLongPrefix) {
  FolderHandle deep{PathVector(L"\\\\?\\" + (root_ / L"a\\b"))};
  EXPECT_TRUE(deep.Create());
  EXPECT_TRUE(Exists(root_ / L"a\\b"));
}

TEST_F(FolderHandleTest, CreateOnANetworkShareStartsBelowTheShare) {
  // Wine shows the drive as a share of the same letter below its own server name.
  for (const wchar_t* path : {L"\\\\nowhere\\share\\a\\b", L"\\\\?\\UNC\\nowhere\\share\\a\\b"}) {
    FolderHandle folder{PathVector(path)};
    EXPECT_FALSE(folder.Create());
    EXPECT_NE(folder.LastError(), 0u);
  }
}

TEST_F(FolderHandleTest, DeletesAnEmptyFolder) {
  MakeFolder(path_);
  EXPECT_TRUE(folder_.Delete(false, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(Exists(path_));
}

TEST_F(FolderHandleTest, WithoutRecursionAFullFolderStays) {
  MakeFolder(path_);
  WriteBytes(path_ + L"\\file", "1");
  EXPECT_FALSE(folder_.Delete(false, &error_));
  EXPECT_EQ(error_, 145u);
  EXPECT_EQ(folder_.LastError(), 145u);
  EXPECT_TRUE(Exists(path_ + L"\\file"));
}

TEST_F(FolderHandleTest, WithRecursionTheWholeTreeGoes) {
  MakeFolder(path_);
  MakeFolder(path_ + L"\\sub");
  WriteBytes(path_ + L"\\sub\\file", "1");
  test::SetReadOnly(path_ + L"\\sub\\file");
  EXPECT_TRUE(folder_.Delete(true, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(Exists(path_));
}

TEST_F(FolderHandleTest, DeletingAMissingFolderFailsWith2) {
  EXPECT_FALSE(folder_.Delete(true, &error_));
  EXPECT_EQ(error_, 2u);
  EXPECT_FALSE(folder_.Delete(false, &error_));
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(folder_.LastError(), 2u);
}

}  // namespace
}  // namespace veskard
