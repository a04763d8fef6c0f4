// What is said of the first menu of Windows 11, for states that the test makes up.
#include "tools/shellprobe/FirstMenuDiagnosis.h"

#include <windows.h>

#include <gmock/gmock.h>

#include "core/Product.h"
#include "shellext/ClassIds.h"
#include "tests/lang/ZipBuilder.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/ToolRun.h"
#include "tools/common/Utf8.h"
#include "tools/marks/Marks.h"
#include "tools/shellprobe/DoctorFacts.h"

namespace veskard::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kPublisher[] = L"CN=Nimbrel, C=AT";
const std::string kOwnVersion = ToUtf8(kVersionText) + ".0";

std::wstring FullName(const std::string& version, const std::wstring& publisher = kPublisher) {
  return L"Nimbrel.VeskardAgent_" + FromUtf8(version) + L"_neutral__" + PublisherIdOf(publisher);
}

class FirstMenuDiagnosisTest : public testing::Test {
 protected:
  /// A machine where all is well: the library in the installation's folder, and the identity
  /// for everyone.
  FirstMenuDiagnosisTest() {
    EXPECT_TRUE(::CopyFileW(BuiltProgram(L"VeskardExplorerCommand.dll").c_str(), library_.c_str(), TRUE));
    state_.machine = {OwnArchitecture(), true, 22631};
    state_.folder = folder_.Path();
    state_.hasFile = true;
    state_.file = {kPublisher, kOwnVersion};
    state_.packages = {{FullName(kOwnVersion), true, true, folder_.Path()}};
  }

  KnownPackage& Package() { return state_.packages[0]; }

  /// Expects these lines, and the menu to be there, or missing for `obstacle`.
  void Expect(const char* obstacle, const std::vector<std::string>& lines) {
    Report report;
    EXPECT_STREQ(DiagnoseFirstMenu(report, state_), obstacle) << report.AsText();
    for (const std::string& line : lines) EXPECT_THAT(report.AsText(), HasSubstr(line + "\n"));
    text_ = report.AsText();
    isBad_ = report.HasBad(kFirstMenuFact);
  }

  /// The same, and that the last line says so.
  void ExpectMissing(const std::string& obstacle, const std::vector<std::string>& lines) {
    Expect(obstacle.c_str(), lines);
    EXPECT_THAT(text_,
                HasSubstr("BAD   the commands are behind \"Show more options\" only: " + obstacle + "\n"));
    EXPECT_TRUE(isBad_);
  }

  const ScratchFolder folder_;
  const std::wstring library_ = folder_ / L"VeskardExplorerCommand.dll";
  FirstMenuState state_;
  std::string text_;
  bool isBad_ = false;
};

TEST_F(FirstMenuDiagnosisTest, AllIsWell) {
  Expect(nullptr,
         {"First menu of Windows 11",
          "  ok    the identity " + ToUtf8(FullName(kOwnVersion)) +
              " is registered for this user, and for all users",
          "  ok    its publisher is CN=Nimbrel, C=AT", "  ok    its version is " + kOwnVersion,
          "  ok    its library is " + ToUtf8(library_), "  ok    Explorer's own menu has the commands"});
  EXPECT_THAT(text_, Not(HasSubstr("BAD")));
}

TEST_F(FirstMenuDiagnosisTest, AnOlderWindowsHasTheClassicMenuOnly) {
  state_.machine.build = 19045;
  Expect("this Windows shows the classic menu only",
         {"        this Windows (build 19045) shows the classic menu only"});
  EXPECT_FALSE(isBad_);
  state_.machine.build = 21999;
  EXPECT_FALSE(HasFirstMenu(state_.machine));
  state_.machine.build = 22000;
  EXPECT_TRUE(HasFirstMenu(state_.machine));
}

TEST_F(FirstMenuDiagnosisTest, AnIdentityThatIsNotRegistered) {
  state_.packages.clear();
  ExpectMissing("no identity is registered",
                {"  BAD   no identity is registered, though VeskardExplorerCommand.msix is installed"});
  EXPECT_THAT(text_, HasSubstr("msiexec /i PACKAGE.msi REINSTALL=ALL"));
}

TEST_F(FirstMenuDiagnosisTest, AnInstallationWithoutThePackageIsMeantSo) {
  state_.packages.clear();
  state_.hasFile = false;
  state_.file.reset();
  Expect("no identity is registered",
         {"        no identity is registered, and no VeskardExplorerCommand.msix is installed",
          "        the commands are behind \"Show more options\" only: no identity is registered"});
  EXPECT_FALSE(isBad_);
}

TEST_F(FirstMenuDiagnosisTest, AnIdentityThatTheInstallationLeftOut) {
  state_.packages.clear();
  state_.isLeftOut = true;
  Expect("the installation left it out",
         {"        no identity is registered: the installation left it out (FIRSTLEVELMENU=0)",
          "        the commands are behind \"Show more options\" only: the installation left it out"});
  EXPECT_FALSE(isBad_);
}

TEST_F(FirstMenuDiagnosisTest, AnIdentityOfThisUserOnlyIsEnoughForThisUser) {
  Package().forAllUsers = false;
  Expect(nullptr,
         {"  ok    the identity " + ToUtf8(FullName(kOwnVersion)) + " is registered for this user only"});
}

TEST_F(FirstMenuDiagnosisTest, AnIdentityOfAllUsersReachesThisOneAtTheNextSignIn) {
  Package().forThisUser = false;
  ExpectMissing("the identity is not registered for this user yet",
                {"        this user gets it at the next sign-in: sign out and in again"});
}

TEST_F(FirstMenuDiagnosisTest, AForeignIdentityIsNotOurs) {
  Package().fullName = FullName(kOwnVersion, L"CN=Somebody");
  ExpectMissing("the identity is another publisher's",
                {"  BAD   it is of another publisher, not of CN=Nimbrel, C=AT"});
}

TEST_F(FirstMenuDiagnosisTest, WithoutThePackageFileThePublisherIsNotKnown) {
  state_.file.reset();
  Expect(nullptr,
         {"        its publisher cannot be checked: there is no readable VeskardExplorerCommand.msix "
          "to compare it with"});
}

TEST_F(FirstMenuDiagnosisTest, AnIdentityOfAnotherVersion) {
  Package().fullName = FullName("1.9.0.0");
  ExpectMissing("the identity is of another version",
                {"  BAD   its version is 1.9.0.0, this program's is " + kOwnVersion});
}

TEST_F(FirstMenuDiagnosisTest, ALibraryThatIsGone) {
  ASSERT_TRUE(::DeleteFileW(library_.c_str()));
  ExpectMissing("its library cannot be used",
                {"  BAD   its library " + ToUtf8(library_) + " does not exist"});
}

TEST_F(FirstMenuDiagnosisTest, ALibraryThatExplorerCannotLoad) {
  const bool isArm = OwnArchitecture() == Architecture::kArm64;
  state_.machine.windows = isArm ? Architecture::k64Bit : Architecture::kArm64;
  ExpectMissing(
      "its library cannot be used",
      {"  BAD   its library " + ToUtf8(library_) + " is for " + ArchitectureName(OwnArchitecture()) +
       " programs, and Explorer is one of the " + ArchitectureName(state_.machine.windows) + " programs"});
}

TEST_F(FirstMenuDiagnosisTest, ALibraryOfAnotherVersion) {
  ASSERT_TRUE(
      ::CopyFileW(BuiltProgram(L"tests\\libraries\\older_library.dll").c_str(), library_.c_str(), FALSE));
  Expect("its library cannot be used", {});
  EXPECT_THAT(text_, HasSubstr(" has version "));
}

// Where Windows does not say where the package's programs lie.
TEST_F(FirstMenuDiagnosisTest, TheLibraryIsLookedForInTheInstallation) {
  Package().location.clear();
  Expect(nullptr, {"  ok    its library is " + ToUtf8(library_)});
}

TEST_F(FirstMenuDiagnosisTest, ABlockedClass) {
  state_.blockedAt = L"HKEY_LOCAL_MACHINE\\Blocked";
  ExpectMissing("its class is blocked",
                {"  BAD   its class is blocked by a value of HKEY_LOCAL_MACHINE\\Blocked"});
}

TEST_F(FirstMenuDiagnosisTest, OneGoodIdentityAmongOthersIsEnough) {
  state_.packages.insert(state_.packages.begin(), {FullName("1.9.0.0"), false, true, folder_.Path()});
  Expect(nullptr, {"  ok    Explorer's own menu has the commands"});
}

class FirstMenuStateTest : public testing::Test {
 protected:
  const RegistrySandbox sandbox_;
  const ScratchFolder folder_;
};

TEST_F(FirstMenuStateTest, IsReadFromTheInstallationThatTheRegistryNames) {
  LayFile(folder_ / L"VeskardExplorerCommand.msix",
          BuildZip({{"AppxManifest.xml", "<Identity Publisher=\"CN=Nimbrel\" Version=\"2.0.0.0\"/>"}}));
  WriteRegistryText(
      HKEY_LOCAL_MACHINE,
      std::wstring(L"Software\\Classes\\CLSID\\") + ClassIdText(kContextMenuClass) + L"\\InprocServer32", L"",
      folder_ / L"VeskardShellExt.dll");
  const FirstMenuState state = ReadFirstMenuState();
  EXPECT_EQ(state.folder, folder_.Path());
  EXPECT_TRUE(state.hasFile);
  ASSERT_TRUE(state.file);
  EXPECT_EQ(state.file->publisher, L"CN=Nimbrel");
  EXPECT_TRUE(state.packages.empty());
  EXPECT_EQ(state.blockedAt, L"");
}

TEST_F(FirstMenuStateTest, WhatTheInstallationLeftOutStandsInItsRecord) {
  constexpr wchar_t kRecord[] = L"Software\\Nimbrel\\Explorer Extension";
  EXPECT_FALSE(ReadFirstMenuState().isLeftOut);
  WriteRegistryText(HKEY_LOCAL_MACHINE, kRecord, L"FirstLevelMenu", L"1");
  EXPECT_FALSE(ReadFirstMenuState().isLeftOut);
  WriteRegistryText(HKEY_LOCAL_MACHINE, kRecord, L"FirstLevelMenu", L"0");
  EXPECT_TRUE(ReadFirstMenuState().isLeftOut);
}

TEST_F(FirstMenuStateTest, ABlockedClassIsFoundForTheMachineAndForTheUser) {
  constexpr wchar_t kKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Blocked";
  wchar_t classId[40] = {};
  ::StringFromGUID2(ClassId(kExplorerCommandClass), classId, 40);
  WriteRegistryText(HKEY_CURRENT_USER, kKey, classId, L"");
  EXPECT_EQ(ReadFirstMenuState().blockedAt, std::wstring(L"HKEY_CURRENT_USER\\") + kKey);
  WriteRegistryText(HKEY_LOCAL_MACHINE, kKey, classId, L"");
  EXPECT_EQ(ReadFirstMenuState().blockedAt, std::wstring(L"HKEY_LOCAL_MACHINE\\") + kKey);
}

}  // namespace
}  // namespace veskard::test
