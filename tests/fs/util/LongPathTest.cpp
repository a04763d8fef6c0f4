#include "fs/util/LongPath.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "tests/support/Patched.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

// Long enough for any path that ends with it.
const std::wstring kName(300, L'x');

std::wstring OfLength(const std::wstring& start, size_t length) {
  return start + std::wstring(length - start.size(), L'x');
}

TEST(LongPathTest, ADrivePathGetsThePrefixFrom260CharactersOn) {
  for (const size_t length : {3u, 259u}) {
    EXPECT_EQ(LongPathForm(OfLength(L"C:\\", length)), OfLength(L"C:\\", length));
  }
  for (const size_t length : {260u, 261u, 32767u}) {
    EXPECT_EQ(LongPathForm(OfLength(L"C:\\", length)), L"\\\\?\\" + OfLength(L"C:\\", length));
  }
}

TEST(LongPathTest, ANetworkPathGetsThePrefixOfItsOwnFrom260CharactersOn) {
  const std::wstring share = L"\\\\srv\\share\\";
  const std::wstring longShare = L"\\\\?\\UNC\\srv\\share\\";
  EXPECT_EQ(LongPathForm(OfLength(share, 259)), OfLength(share, 259));
  for (const size_t length : {260u, 261u, 32767u}) {
    EXPECT_EQ(LongPathForm(OfLength(share, length)), longShare + std::wstring(length - share.size(), L'x'));
  }
}

TEST(LongPathTest, AServersNameMayBeginLikeADevicePath) {
  EXPECT_EQ(LongPathForm(L"\\\\.srv\\share\\" + kName), L"\\\\?\\UNC\\.srv\\share\\" + kName);
}

TEST(LongPathTest, APathWithThePrefixOrOfADeviceStaysAsItIs) {
  for (const std::wstring start : {L"\\\\?\\C:\\", L"\\\\?\\UNC\\srv\\share\\", L"\\\\?\\C:\\a\\..\\",
                                   L"\\\\.\\C:\\", L"\\\\.\\pipe\\", L"//?/C:/"}) {
    EXPECT_EQ(LongPathForm(start + kName), start + kName) << start.c_str();
  }
}

TEST(LongPathTest, ARelativePathStaysAsItIs) {
  for (const std::wstring start : {L"", L"a\\", L"..\\", L"\\a\\", L"C:", L"C:a\\", L"cloud:/a/b/c/"}) {
    EXPECT_EQ(LongPathForm(start + kName), start + kName) << start.c_str();
  }
}

TEST(LongPathTest, ALongPathIsResolvedAsWindowsResolvesAShorterOne) {
  const std::wstring longForm = L"\\\\?\\C:\\a\\" + kName;
  for (const wchar_t* start :
       {L"C:/a/", L"C:\\b\\..\\a\\", L"C:\\.\\a\\.\\", L"C:\\\\a\\\\", L"C:\\..\\a\\"}) {
    EXPECT_EQ(LongPathForm(start + kName), longForm) << start;
  }
  for (const wchar_t* end : {L" ", L".", L" . ."}) {
    EXPECT_EQ(LongPathForm(L"C:\\a\\" + kName + end), longForm) << end;
  }
  EXPECT_EQ(LongPathForm(L"//srv/share/b/../a/" + kName), L"\\\\?\\UNC\\srv\\share\\a\\" + kName);
}

TEST(LongPathTest, BlanksAndDotsInsideAPathStay) {
  EXPECT_EQ(LongPathForm(L"C:\\ a \\.b\\" + kName), L"\\\\?\\C:\\ a \\.b\\" + kName);
}

TEST(LongPathTest, APathThatWindowsDoesNotResolveToAFileStaysAsItIs) {
  const std::wstring path = L"C:\\" + kName + L"\\NUL";
  {
    const test::FailingCall refused("GetFullPathNameW", ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(LongPathForm(path), path);
  }
  const test::Patched<&::GetFullPathNameW> device("GetFullPathNameW",
                                                  [](auto, auto, auto, LPWSTR buffer, auto) {
                                                    constexpr std::wstring_view kDevice = L"\\\\.\\NUL";
                                                    buffer[kDevice.copy(buffer, kDevice.size())] = L'\0';
                                                    return static_cast<DWORD>(kDevice.size());
                                                  });
  EXPECT_EQ(LongPathForm(path), path);
}

TEST(LongPathTest, APathTooLongForWindowsStaysAsItIs) {
  const std::wstring path = OfLength(L"C:\\", 70000);
  EXPECT_EQ(LongPathForm(path), path);
}

}  // namespace
}  // namespace veskard
