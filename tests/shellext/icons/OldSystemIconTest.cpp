// The rules for systems from 6.0 up to, and without, 6.2. Wine lets each program
// have a system of its own choice: this one chooses, and starts itself again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/ModuleHandle.h"
#include "shellext/icons/TypeIcon.h"
#include "tests/shellext/icons/StockFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::DrawnOnEmpty;
using test::PixelsOf;
using test::SeeThroughPattern;

class OldSystemIconTest : public testing::Test {
 protected:
  static test::Picture Folder(bool large) {
    return PixelsOf(GetTypeIcon(L"C:\\absent\\music.vlk2fldr", large, true).Get());
  }

  const test::StartedGdiplus gdiplus_;
};

TEST_F(OldSystemIconTest, TheSystemIsOld) {
  EXPECT_TRUE(test::ClaimsToBeOldSystem());
}

TEST_F(OldSystemIconTest, ALargeFolderIsTheStockIcon) {
  const test::StockFolderPatch elsewhere(test::kOwnFolderIcon);
  const UniqueIcon icon(static_cast<HICON>(::LoadImageW(
      ::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(test::kOwnFolderIcon), IMAGE_ICON, 256, 256, 0)));
  const test::Picture own = DrawnOnEmpty(PixelsOf(icon.Get()));
  ASSERT_EQ(own.width, 256);
  EXPECT_EQ(Folder(true), own);
}

TEST_F(OldSystemIconTest, TheStockIconIsTheSystemsOwn) {
  const test::Picture own = test::StockFolderPicture();
  ASSERT_EQ(own.width, 256);
  EXPECT_EQ(Folder(true), DrawnOnEmpty(own));
}

TEST_F(OldSystemIconTest, AShellThatDoesNotAnswerGivesNothing) {
  test::CountedLibraries libraries;
  const test::Patched<&::SHGetStockIconInfo> silent("SHGetStockIconInfo", [](auto...) { return E_FAIL; });
  EXPECT_FALSE(GetTypeIcon(L"music.vlk2fldr", true, true));
  EXPECT_EQ(libraries.Requests(), 0) << "of a path that was never given";
}

TEST_F(OldSystemIconTest, ALibraryOrAnIconThatIsNotThereGivesNothing) {
  {
    const test::StockFolderPatch elsewhere(L"C:\\absent\\icons.dll", 1);
    EXPECT_FALSE(GetTypeIcon(L"music.vlk2fldr", true, true));
  }
  const test::StockFolderPatch elsewhere(9999);
  EXPECT_FALSE(GetTypeIcon(L"music.vlk2fldr", true, true));
}

TEST_F(OldSystemIconTest, NothingOfTheStockIconStaysBehind) {
  test::CountedLibraries libraries;
  Folder(true);  // what the process keeps from the first time
  const int before = libraries.Loaded();
  const size_t handles = test::CountGdiHandles();
  ASSERT_EQ(Folder(true).width, 256);
  EXPECT_EQ(libraries.Requests(), 2);
  EXPECT_EQ(libraries.Loaded(), before);
  EXPECT_EQ(test::CountGdiHandles(), handles);
}

TEST_F(OldSystemIconTest, ASmallFolderIsNot) {
  const test::Picture before = Folder(false);
  const test::StockFolderPatch elsewhere(test::kOwnFolderIcon);
  EXPECT_EQ(before.width, 16);
  EXPECT_EQ(Folder(false), before);
}

TEST_F(OldSystemIconTest, ALargeFileIsTheShellsJumboIcon) {
  const test::TestFileType type(L"vkold", {{SeeThroughPattern(256)}});
  EXPECT_EQ(PixelsOf(GetTypeIcon(L"report.vkold", true, false).Get()), DrawnOnEmpty(SeeThroughPattern(256)));
}

// Takes effect for programs of this name that start from now on.
void ChooseOldSystem(const std::wstring& program) {
  const std::wstring key = L"Software\\Wine\\AppDefaults\\" + program.substr(program.rfind(L'\\') + 1);
  ::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"Version", REG_SZ, L"win7", 5 * sizeof(wchar_t));
}

int RunAgain(const std::wstring& program) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(program.c_str(), ::GetCommandLineW(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &process)) {
    return 1;
  }
  const UniqueHandle child(process.hProcess), thread(process.hThread);
  ::WaitForSingleObject(child.Get(), INFINITE);
  DWORD code = 1;
  ::GetExitCodeProcess(child.Get(), &code);
  return static_cast<int>(code);
}

}  // namespace
}  // namespace veskard

int main(int argc, char** argv) {
  constexpr wchar_t kSecondRun[] = L"VESKARD_OLD_SYSTEM_CHOSEN";
  if (!veskard::test::ClaimsToBeOldSystem() && ::GetEnvironmentVariableW(kSecondRun, nullptr, 0) == 0) {
    const std::wstring program = veskard::ReadModulePath(nullptr);
    veskard::ChooseOldSystem(program);
    ::SetEnvironmentVariableW(kSecondRun, L"1");
    return veskard::RunAgain(program);
  }
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
