#include "fs/util/Files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

class FileExistsTest : public ::testing::Test {
 protected:
  FileExistsTest() { test::WriteBytes(file_, "x"); }

  static void ExpectNothing(const std::wstring& path, DWORD error) {
    ::SetLastError(0);
    EXPECT_FALSE(FileExists(path.c_str()));
    EXPECT_EQ(::GetLastError(), error);
    ::SetLastError(0);
    EXPECT_FALSE(FolderExists(path.c_str()));
    EXPECT_EQ(::GetLastError(), error);
  }

  const test::ScratchFolder folder_;
  const std::wstring file_ = folder_ / L"file";
};

TEST_F(FileExistsTest, AFileIsNoFolder) {
  EXPECT_TRUE(FileExists(file_.c_str()));
  EXPECT_FALSE(FolderExists(file_.c_str()));
}

TEST_F(FileExistsTest, AFolderIsNoFile) {
  EXPECT_FALSE(FileExists(folder_.Path().c_str()));
  EXPECT_TRUE(FolderExists(folder_.Path().c_str()));
}

TEST_F(FileExistsTest, AReadOnlyHiddenFileIsAFile) {
  ASSERT_TRUE(::SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
  EXPECT_TRUE(FileExists(file_.c_str()));
  test::SetReadOnly(file_, false);
}

TEST_F(FileExistsTest, WhatIsMissingIsNeither) {
  ExpectNothing(folder_ / L"missing", ERROR_FILE_NOT_FOUND);
  ExpectNothing(folder_ / L"missing\\below", ERROR_PATH_NOT_FOUND);
  ExpectNothing(L"", ERROR_PATH_NOT_FOUND);
}

}  // namespace
}  // namespace veskard
