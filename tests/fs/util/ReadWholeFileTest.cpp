#include "fs/util/Files.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::SetReadOnly;
using test::WriteBytes;

class ReadWholeFileTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file.bin";
  size_t size_ = 77;
};

TEST_F(ReadWholeFileTest, ReturnsTheBytesAndAZeroBehindThem) {
  const std::string contents("a\0b\xFF", 4);
  WriteBytes(path_, contents);
  const auto bytes = ReadWholeFile(path_, size_);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(size_, 4u);
  EXPECT_EQ(std::string(bytes.get(), 5), contents + '\0');
}

TEST_F(ReadWholeFileTest, AnEmptyFileIsOneZeroByte) {
  WriteBytes(path_, "");
  const auto bytes = ReadWholeFile(path_, size_);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(size_, 0u);
  EXPECT_EQ(bytes[0], '\0');
}

TEST_F(ReadWholeFileTest, AMissingFileIsNothing) {
  EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AFolderIsNothing) {
  EXPECT_EQ(ReadWholeFile(folder_.Path(), size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AReadOnlyFileIsReadAndStaysReadOnly) {
  WriteBytes(path_, "x");
  SetReadOnly(path_);
  EXPECT_NE(ReadWholeFile(path_, size_), nullptr);
  EXPECT_TRUE(test::IsReadOnly(path_));
}

// A file that is said to be of another size.
struct PretendedSize {
  LONGLONG pretended = 0;
  const test::Patched<&::GetFileSizeEx> size{"GetFileSizeEx", [this](auto, HANDLE, LARGE_INTEGER* answer) {
                                               answer->QuadPart = pretended;
                                               return TRUE;
                                             }};
};

TEST_F(ReadWholeFileTest, AShortReadIsNothing) {
  WriteBytes(path_, "four");
  const PretendedSize size{.pretended = 5};
  EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, MoreThanTheLimitIsNothing) {
  WriteBytes(path_, "four");
  EXPECT_NE(ReadWholeFile(path_, size_, 4), nullptr);
  EXPECT_EQ(size_, 4u);
  EXPECT_EQ(ReadWholeFile(path_, size_, 3), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AFileThatOneReadCannotTakeIsNothing) {
  WriteBytes(path_, "four");
  for (const LONGLONG size : {0xFFFFFFFFLL, 0x100000000LL, 0x100000004LL}) {
    const PretendedSize pretended{.pretended = size};
    EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
    EXPECT_EQ(size_, 0u);
  }
}

}  // namespace
}  // namespace veskard
