#include "tools/common/Architecture.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "tests/support/ScratchFolder.h"

namespace veskard::test {
namespace {

class ArchitectureTest : public testing::Test {
 protected:
  /// What is found in a file of these bytes.
  Architecture Of(const std::string& bytes) const {
    const std::wstring file = folder_ / L"made.dll";
    Write(file, bytes);
    return ArchitectureOfFile(file);
  }

  /// The beginning of a program file for that machine, its second header at `offset`.
  static std::string Headers(WORD machine, LONG offset = 128) {
    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = offset;
    const DWORD signature = IMAGE_NT_SIGNATURE;
    IMAGE_FILE_HEADER header = {};
    header.Machine = machine;
    std::string bytes(128, '\0');
    std::memcpy(bytes.data(), &dos, sizeof dos);
    bytes.append(reinterpret_cast<const char*>(&signature), sizeof signature);
    return bytes.append(reinterpret_cast<const char*>(&header), sizeof header);
  }

 private:
  static void Write(const std::wstring& file, const std::string& bytes) {
    const UniqueFile made(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(made.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
  }

 protected:
  const ScratchFolder folder_;
};

TEST_F(ArchitectureTest, IsReadFromTheHeader) {
  EXPECT_EQ(Of(Headers(0x014C)), Architecture::k32Bit);
  EXPECT_EQ(Of(Headers(0x8664)), Architecture::k64Bit);
  EXPECT_EQ(Of(Headers(0xAA64)), Architecture::kArm64);
  EXPECT_EQ(Of(Headers(0x01C4)), Architecture::kOther);
}

TEST_F(ArchitectureTest, WhatIsNoProgramHasNone) {
  EXPECT_EQ(Of(""), Architecture::kNone);
  EXPECT_EQ(Of("MZ"), Architecture::kNone);
  EXPECT_EQ(Of(std::string(1000, 'x')), Architecture::kNone);
  EXPECT_EQ(Of(Headers(0x8664).substr(0, 130)), Architecture::kNone);
  EXPECT_EQ(Of(Headers(0x8664, 100'000)), Architecture::kNone);
  EXPECT_EQ(Of(Headers(0x8664, -128)), Architecture::kNone);
  EXPECT_EQ(ArchitectureOfFile(folder_ / L"missing.dll"), Architecture::kNone);
  EXPECT_EQ(ArchitectureOfFile(folder_.Path()), Architecture::kNone);
}

TEST_F(ArchitectureTest, ThisProgramKnowsItsOwn) {
  EXPECT_EQ(OwnArchitecture(), ArchitectureOfFile(ReadModulePath(nullptr)));
  EXPECT_EQ(OwnArchitecture() == Architecture::k32Bit, sizeof(void*) == 4);
}

TEST_F(ArchitectureTest, Names) {
  EXPECT_STREQ(ArchitectureName(Architecture::k32Bit), "32-bit");
  EXPECT_STREQ(ArchitectureName(Architecture::k64Bit), "64-bit");
  EXPECT_STREQ(ArchitectureName(Architecture::kArm64), "ARM64");
  EXPECT_STREQ(ArchitectureName(Architecture::kNone), "unknown");
  EXPECT_STREQ(ArchitectureName(Architecture::kOther), "unknown");
}

}  // namespace
}  // namespace veskard::test
