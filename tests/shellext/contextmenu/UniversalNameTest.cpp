#include "shellext/contextmenu/UniversalName.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "shellext/contextmenu/AgentChannel.h"

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

DWORD WINAPI AnswerNotConnected(const wchar_t*, DWORD, void*, DWORD*) {
  return ERROR_NOT_CONNECTED;
}

class UniversalNameTest : public testing::Test {
 protected:
  void SetUp() override {
    universalName = L"\\\\server\\share\\docs\\a.txt";
    reportedSize = 100;
  }
};

TEST_F(UniversalNameTest, APathOnAMappedDriveBecomesItsUncForm) {
  EXPECT_EQ(QueryUniversalName(L"Z:\\docs\\a.txt", &AnswerMappedDrive), universalName);
}

TEST_F(UniversalNameTest, TheLongestNameFits) {
  universalName = L"\\\\server\\" + std::wstring(32767 - 9, L'x');
  EXPECT_EQ(QueryUniversalName(L"Z:\\docs\\a.txt", &AnswerMappedDrive), universalName);
}

TEST_F(UniversalNameTest, AnAnswerOfSizeZeroCountsAsNone) {
  reportedSize = 0;
  EXPECT_EQ(QueryUniversalName(L"Z:\\docs\\a.txt", &AnswerMappedDrive), L"Z:\\docs\\a.txt");
}

TEST_F(UniversalNameTest, APathOnALocalDriveStaysAsItIs) {
  EXPECT_EQ(QueryUniversalName(L"C:\\a.txt", &AnswerNotConnected), L"C:\\a.txt");
}

TEST_F(UniversalNameTest, TheSystemItselfLeavesALocalPathAlone) {
  EXPECT_EQ(ToUniversalName(L"C:\\windows\\\u00E4.txt"), L"C:\\windows\\\u00E4.txt");
}

}  // namespace
}  // namespace veskard
