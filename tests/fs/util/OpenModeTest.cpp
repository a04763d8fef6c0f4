#include "fs/util/OpenMode.h"

#include <gtest/gtest.h>

#include "tests/fs/util/SeenOpen.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::ReadBytes;
using test::WriteBytes;

uint64_t PositionOf(const UniqueFile& file) {
  LARGE_INTEGER position = {};
  EXPECT_TRUE(::SetFilePointerEx(file.Get(), LARGE_INTEGER{}, &position, FILE_CURRENT));
  return static_cast<uint64_t>(position.QuadPart);
}

bool CanRead(const UniqueFile& file) {
  char byte;
  DWORD read;
  return ::ReadFile(file.Get(), &byte, 1, &read, nullptr) != FALSE;
}

bool CanWrite(const UniqueFile& file) {
  DWORD written;
  return ::WriteFile(file.Get(), "x", 1, &written, nullptr) != FALSE;
}

TEST(OpenModeTest, TheTableIsWhatTheAgentUses) {
  struct Row {
    DWORD access, disposition, flags;
  };
  constexpr DWORD kReadWrite = 0xC0000000;
  constexpr Row kExpected[] = {
      {0x80000000, 3, 0x80}, {kReadWrite, 4, 0x80},       {kReadWrite, 2, 0x80}, {0, 3, 0x02000080},
      {0x40000000, 4, 0x80}, {kReadWrite, 3, 0x02000080}, {kReadWrite, 1, 0x80},
  };
  ASSERT_EQ(kOpenModes.size(), std::size(kExpected));
  for (size_t mode = 0; mode < kOpenModes.size(); ++mode) {
    EXPECT_EQ(kOpenModes[mode].access, kExpected[mode].access) << mode;
    EXPECT_EQ(kOpenModes[mode].disposition, kExpected[mode].disposition) << mode;
    EXPECT_EQ(kOpenModes[mode].flags, kExpected[mode].flags) << mode;
    EXPECT_EQ(kOpenModes[mode].writes, mode != 0 && mode != 3) << mode;
    EXPECT_EQ(kOpenModes[mode].appends, mode == 4) << mode;
  }
  EXPECT_EQ(kShareEverything, 7u);
}

TEST(OpenByModeTest, AsksForTheRowAndTheExtraFlags) {
  test::SeenOpen seen;
  for (uint32_t mode = 0; mode < kOpenModes.size(); ++mode) {
    EXPECT_FALSE(OpenByMode(L"C:\\any", mode, FILE_FLAG_WRITE_THROUGH));
    EXPECT_EQ(seen.access, kOpenModes[mode].access);
    EXPECT_EQ(seen.share, 7u);
    EXPECT_EQ(seen.disposition, kOpenModes[mode].disposition);
    EXPECT_EQ(seen.flags, kOpenModes[mode].flags | FILE_FLAG_WRITE_THROUGH);
    EXPECT_EQ(seen.security, nullptr);
    EXPECT_EQ(seen.templateFile, nullptr);
  }
}

class OpenByModeOnDiskTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring missing_ = folder_ / L"missing.txt";
  const std::wstring present_ = folder_ / L"present.txt";

  void SetUp() override { WriteBytes(present_, "hello"); }
};

TEST_F(OpenByModeOnDiskTest, Mode0ReadsWhatExists) {
  EXPECT_FALSE(OpenByMode(missing_, 0, 0));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  const UniqueFile file = OpenByMode(present_, 0, 0);
  ASSERT_TRUE(file);
  EXPECT_TRUE(CanRead(file));
  EXPECT_FALSE(CanWrite(file));
}

TEST_F(OpenByModeOnDiskTest, Mode1CreatesOrKeeps) {
  EXPECT_TRUE(OpenByMode(missing_, 1, 0));
  EXPECT_EQ(ReadBytes(missing_), "");
  const UniqueFile file = OpenByMode(present_, 1, 0);
  EXPECT_TRUE(CanRead(file));
  EXPECT_TRUE(CanWrite(file));
  EXPECT_EQ(ReadBytes(present_), "hxllo");
}

TEST_F(OpenByModeOnDiskTest, Mode2CreatesOrEmpties) {
  EXPECT_TRUE(OpenByMode(missing_, 2, 0));
  EXPECT_EQ(ReadBytes(missing_), "");
  EXPECT_TRUE(OpenByMode(present_, 2, 0));
  EXPECT_EQ(ReadBytes(present_), "");
}

TEST_F(OpenByModeOnDiskTest, Mode3QueriesFilesAndFolders) {
  const UniqueFile file = OpenByMode(present_, 3, 0);
  ASSERT_TRUE(file);
  EXPECT_FALSE(CanRead(file));
  EXPECT_FALSE(CanWrite(file));
  EXPECT_TRUE(OpenByMode(folder_.Path(), 3, 0));
  EXPECT_FALSE(OpenByMode(missing_, 3, 0));
}

TEST_F(OpenByModeOnDiskTest, Mode4OnAMissingFileCreatesItAndStartsAt0) {
  const UniqueFile file = OpenByMode(missing_, 4, 0);
  ASSERT_TRUE(file);
  EXPECT_EQ(PositionOf(file), 0u);
}

TEST_F(OpenByModeOnDiskTest, Mode4OnAnExistingFileStartsAtItsEnd) {
  const UniqueFile file = OpenByMode(present_, 4, 0);
  ASSERT_TRUE(file);
  EXPECT_EQ(PositionOf(file), 5u);
  EXPECT_FALSE(CanRead(file));
  EXPECT_TRUE(CanWrite(file));
  EXPECT_EQ(ReadBytes(present_), "hellox");
}

TEST_F(OpenByModeOnDiskTest, Mode4ClosesTheFileWhenTheMoveToItsEndFails) {
  const size_t handles = test::CountOpenHandles();
  const test::FailingCall failing("SetFilePointerEx", ERROR_SEEK);
  const UniqueFile file = OpenByMode(present_, 4, 0);
  const DWORD error = ::GetLastError();
  EXPECT_FALSE(file);
  EXPECT_EQ(error, DWORD{ERROR_SEEK});
  EXPECT_EQ(test::CountOpenHandles(), handles);
}

TEST_F(OpenByModeOnDiskTest, Mode5ReadsAndWritesWhatExists) {
  EXPECT_FALSE(OpenByMode(missing_, 5, 0));
  const UniqueFile file = OpenByMode(present_, 5, 0);
  EXPECT_TRUE(CanRead(file));
  EXPECT_TRUE(CanWrite(file));
}

TEST_F(OpenByModeOnDiskTest, Mode6OnlyCreates) {
  EXPECT_TRUE(OpenByMode(missing_, 6, 0));
  EXPECT_FALSE(OpenByMode(present_, 6, 0));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(ReadBytes(present_), "hello");
}

TEST_F(OpenByModeOnDiskTest, AnUnknownModeOpensNothing) {
  for (const uint32_t mode : {7u, 8u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(OpenByMode(present_, mode, 0));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  }
}

TEST_F(OpenByModeOnDiskTest, ManyMayHaveOneFileOpenAndItMayStillBeMovedAndDeleted) {
  const UniqueFile first = OpenByMode(present_, 1, 0);
  const UniqueFile second = OpenByMode(present_, 5, 0);
  EXPECT_TRUE(first);
  EXPECT_TRUE(second);
  EXPECT_TRUE(::MoveFileW(present_.c_str(), missing_.c_str()));
  EXPECT_TRUE(::DeleteFileW(missing_.c_str()));
}

}  // namespace
}  // namespace veskard
