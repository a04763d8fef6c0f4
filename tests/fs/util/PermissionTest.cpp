// What read-only files and forbidden folders do. Run without the right to override
// permissions (scripts/wine-run-restricted.sh): with it nothing here is refused.
#include <gtest/gtest.h>

#include <filesystem>

#include "fs/util/FileInfo.h"
#include "fs/util/Handle.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::IsReadOnly;
using test::ReadBytes;
using test::SetReadOnly;
using test::WriteBytes;

class PermissionTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file.txt";
  FileHandle file_{PathVector(path_)};
  uint32_t error_ = 77;
};

TEST_F(PermissionTest, TheRightToOverrideIsDropped) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_FALSE(OpenByMode(path_, 1, 0));
  ASSERT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "nothing below would be shown";
}

TEST_F(PermissionTest, AWritingModeMakesAReadOnlyFileWritableForGood) {
  for (const uint32_t mode : {1u, 2u, 4u, 5u}) {
    WriteBytes(path_, "old");
    SetReadOnly(path_);
    EXPECT_TRUE(file_.Open(mode, 0, 0)) << mode;
    EXPECT_EQ(file_.LastError(), 0u);
    EXPECT_EQ(file_.Mode(), mode);
    EXPECT_EQ(file_.Write("X", 1), 1u);
    file_.Close();
    EXPECT_FALSE(IsReadOnly(path_)) << mode;
    EXPECT_TRUE(::DeleteFileW(path_.c_str()));
  }
}

TEST_F(PermissionTest, TheOtherAttributesSurviveTheLossOfReadOnly) {
  WriteBytes(path_, "old");
  ::SetFileAttributesW(path_.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  const DWORD before = ::GetFileAttributesW(path_.c_str());
  EXPECT_TRUE(file_.Open(1, 0, 0));
  EXPECT_EQ(::GetFileAttributesW(path_.c_str()), before & ~DWORD{FILE_ATTRIBUTE_READONLY});
}

TEST_F(PermissionTest, CreateMakesAReadOnlyFileWritable) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_TRUE(file_.Create());
  EXPECT_EQ(ReadBytes(path_), "");
  EXPECT_FALSE(IsReadOnly(path_));
}

TEST_F(PermissionTest, AReadingModeLeavesTheReadOnlyAttributeAlone) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  for (const uint32_t mode : {0u, 3u}) {
    EXPECT_TRUE(file_.Open(mode, 0, 0));
    EXPECT_TRUE(IsReadOnly(path_));
  }
}

}  // namespace
}  // namespace veskard
