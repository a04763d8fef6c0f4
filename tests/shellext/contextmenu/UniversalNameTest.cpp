#include "shellext/contextmenu/UniversalName.h"

#include <gtest/gtest.h>
#include <windows.h>
// The network's calls need the basic types.
#include <winnetwk.h>

#include <cstring>
#include <string>

#include "tests/support/ImportPatch.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

std::wstring universalName;
DWORD reportedSize = 0;

// Answers as the network does for a mapped drive: the record, then the text.
DWORD WINAPI AnswerMappedDrive(const wchar_t* path, DWORD level, void* buffer, DWORD* size) {
  EXPECT_STREQ(path, L"Z:\\docs\\a.txt");
  EXPECT_EQ(level, static_cast<DWORD>(UNIVERSAL_NAME_INFO_LEVEL));
  EXPECT_EQ(*size, 65544u);
  auto* const info = static_cast<UNIVERSAL_NAME_INFOW*>(buffer);
  auto* const text = reinterpret_cast<wchar_t*>(info + 1);
  std::memcpy(text, universalName.c_str(), (universalName.size() + 1) * sizeof(wchar_t));
  info->lpUniversalName = text;
  *size = reportedSize;
  return NO_ERROR;
}

class MappedDriveTest : public testing::Test {
 protected:
  MappedDriveTest() {
    universalName = L"\\\\server\\share\\docs\\a.txt";
    reportedSize = 100;
  }

 private:
  const test::FunctionPatch<decltype(AnswerMappedDrive)> drive_{nullptr, "WNetGetUniversalNameW",
                                                                &AnswerMappedDrive};
};

TEST_F(MappedDriveTest, APathOnItBecomesItsUncForm) {
  EXPECT_EQ(ToUniversalName(L"Z:\\docs\\a.txt"), universalName);
}

TEST_F(MappedDriveTest, TheLongestNameFits) {
  universalName = L"\\\\server\\" + std::wstring(32767 - 9, L'x');
  EXPECT_EQ(ToUniversalName(L"Z:\\docs\\a.txt"), universalName);
}

TEST_F(MappedDriveTest, AnAnswerOfSizeZeroCountsAsNone) {
  reportedSize = 0;
  EXPECT_EQ(ToUniversalName(L"Z:\\docs\\a.txt"), L"Z:\\docs\\a.txt");
}

TEST(UniversalNameTest, APathOnALocalDriveStaysAsItIs) {
  const test::FailingCall notConnected("WNetGetUniversalNameW", ERROR_NOT_CONNECTED);
  EXPECT_EQ(ToUniversalName(L"C:\\a.txt"), L"C:\\a.txt");
  EXPECT_TRUE(notConnected.Happened());
}

TEST(UniversalNameTest, TheSystemItselfLeavesALocalPathAlone) {
  EXPECT_EQ(ToUniversalName(L"C:\\windows\\\u00E4.txt"), L"C:\\windows\\\u00E4.txt");
}

}  // namespace
}  // namespace veskard
