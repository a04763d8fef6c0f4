// The installation package, run as a deployment tool runs it.
#include <gmock/gmock.h>

#include "tests/installer/InstallerFixture.h"
#include "tests/installer/MachineState.h"
#include "tests/installer/Packages.h"
#include "tests/support/AgentFolder.h"
#include "tests/support/FileTools.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ToolRun.h"
#include "tools/common/Architecture.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

constexpr wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

constexpr char kLeftOut[] = "This Windows runs no 32-bit programs: the library for them is left out";

class InstallerTest : public InstallerFixture {
 protected:
  /// What the package adds where 32-bit programs run too.
  static std::vector<std::wstring> AddedFor32Bits() {
    if (!HasHalfOf32Bits()) return {};
    const std::wstring classes = L"HKLM\\Software\\Classes\\Wow6432Node\\CLSID\\";
    const std::wstring server = L"\\InprocServer32| = REG_SZ " + LibraryFor32BitsOf(kVersionText);
    const std::wstring model = L"\\InprocServer32|ThreadingModel = REG_SZ Apartment";
    std::vector<std::wstring> added = {VersionFolder(kVersionText) + L"\\x86",
                                       LibraryFor32BitsOf(kVersionText),
                                       L"HKLM\\Software\\Nimbrel\\Explorer Extension|Library32 = REG_SZ " +
                                           LibraryFor32BitsOf(kVersionText)};
    for (const std::wstring& id : {kMenuId, kIconId}) {
      for (const std::wstring& value : {L"| = REG_SZ " + kHandler, server, model})
        added.push_back(classes + id + value);
    }
    return added;
  }
};

TEST_F(InstallerTest, WritesWhatTheAdministratorsDocumentLists) {
  const std::wstring handler = L"\\shellex\\ContextMenuHandlers\\" + kHandler + L"| = ";
  const std::wstring name = L"| = REG_SZ " + kHandler;
  const std::wstring classes = L"HKLM\\" + kClasses;
  const std::wstring menu = classes + L"CLSID\\" + kMenuId;
  const std::wstring icon = classes + L"CLSID\\" + kIconId;
  const std::wstring server =
      L"\\InprocServer32| = REG_SZ " + VersionFolder(kVersionText) + L"\\VeskardShellExt.dll";
  const std::wstring model = L"\\InprocServer32|ThreadingModel = REG_SZ Apartment";
  const std::wstring record = L"HKLM\\Software\\Nimbrel\\Explorer Extension|";
  std::vector<std::wstring> expected = {
      // the library's own registration
      menu + name, menu + server, menu + model, icon + name, icon + server, icon + model,
      classes + L"*" + handler + L"REG_SZ " + kMenuId, classes + L"lnkfile" + handler + L"REG_SZ " + kMenuId,
      classes + L"Directory" + handler + L"REG_SZ " + kMenuId,
      classes + L"Nimbrel Veskard Agent\\shellex\\IconHandler| = REG_SZ " + kIconId,
      // the file type
      classes + L".ghpl| = REG_SZ Nimbrel Veskard Agent",
      classes + L"Nimbrel Veskard Agent| = REG_SZ Nimbrel Veskard Agent online-only file",
      classes + L"Nimbrel Veskard Agent\\DefaultIcon| = REG_SZ %1",
      classes + L"Nimbrel Veskard Agent\\shellex| = REG_SZ ",
      // the package's record
      record + L"Library = REG_SZ " + VersionFolder(kVersionText) + L"\\VeskardShellExt.dll",
      record + L"Version = REG_SZ " + kVersionText, record + L"OwnsBinding = 4 01000000",
      record + L"OwnsTypeName = 4 01000000", record + L"OwnsTypeIcon = 4 01000000",
      // the files
      L"C:\\Program Files\\Nimbrel Veskard Agent Explorer Extension", VersionFolder(kVersionText),
      VersionFolder(kVersionText) + L"\\VeskardShellExt.dll",
      VersionFolder(kVersionText) + L"\\shellprobe.exe",
      VersionFolder(kVersionText) + L"\\VeskardExplorerCommand.dll",
      VersionFolder(kVersionText) + L"\\THIRD-PARTY-NOTICES.txt",
      VersionFolder(kVersionText) + L"\\VeskardExplorerCommand.msix", record + L"FirstLevelMenu = REG_SZ 1"};
  for (const std::wstring& line : AddedFor32Bits()) expected.push_back(line);
  EXPECT_THAT(AddedByShippedPackage(), UnorderedElementsAreArray(expected));
}

TEST_F(InstallerTest, TheFilesAreTheBuiltOnes) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  for (const wchar_t* name :
       {L"VeskardShellExt.dll", L"VeskardExplorerCommand.dll", L"VeskardExplorerCommand.msix",
        L"shellprobe.exe", L"THIRD-PARTY-NOTICES.txt"}) {
    const std::wstring file = VersionFolder(kVersionText) + L"\\" + name;
    ASSERT_TRUE(Exists(file)) << ToUtf8(name);
    EXPECT_TRUE(ReadBytes(file) == ReadBytes(BuiltProgram(name))) << ToUtf8(name);
  }
}

TEST_F(InstallerTest, TheLogSaysWhenTheLibraryFor32BitsIsLeftOut) {
  const std::string log = InstallForLog(ShippedPackage());
  EXPECT_EQ(log.find(kLeftOut) == std::string::npos, HasHalfOf32Bits());
}

TEST_F(InstallerTest, AppearsInTheListOfPrograms) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  ASSERT_THAT(InstalledProducts(), SizeIs(1));
  const std::wstring key = kUninstallKey + InstalledProducts()[0];
  EXPECT_EQ(ReadMachineText(key, L"DisplayName"), L"Nimbrel Veskard Agent Explorer Extension");
  EXPECT_EQ(ReadMachineText(key, L"DisplayVersion"), kVersionText);
  EXPECT_EQ(ReadMachineText(key, L"Publisher"), L"Nimbrel");
  EXPECT_EQ(ReadMachineText(key, L"InstallLocation"), VersionFolder(kVersionText) + L"\\");
}

// There is no screen here: whatever asked something would wait for ever or fail.
TEST_F(InstallerTest, ASilentRunAsksAndPrintsNothing) {
  for (const wchar_t* action : {L"/i", L"/x"}) {
    const ToolResult result = RunInstallerForResult({action, ShippedPackage()});
    EXPECT_EQ(result.exitCode, 0u);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
  }
  EXPECT_THAT(InstalledProducts(), IsEmpty());
}

// The agent's own installer makes the folder that the log lies in.
TEST_F(InstallerTest, TheInstalledDoctorFindsTheInstallationGood) {
  const AgentFolder logFolder;
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  const ToolResult result = RunProgram(VersionFolder(kVersionText) + L"\\shellprobe.exe", {L"doctor"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.errors, "");
  const std::string version = ToUtf8(kVersionText);
  const std::string programs = std::string(ArchitectureName(OwnArchitecture())) + " programs";
  std::vector<std::string> lines = {"the four values that all programs share exist",
                                    "the six values of the classes exist",
                                    "the library is " + ToUtf8(LibraryOf(kVersionText)),
                                    "its version is " + version,
                                    "both classes can be activated",
                                    "it is for " + programs,
                                    programs + " show the menu",
                                    "\".ghpl\" files have the type that the icons are for",
                                    "the type gives each file its own icon",
                                    "texts are English"};
  if (HasHalfOf32Bits()) {
    lines.push_back("the library is " + ToUtf8(LibraryFor32BitsOf(kVersionText)));
    lines.push_back("32-bit programs show the menu");
  }
  for (const std::string& line : lines) EXPECT_THAT(result.output, HasSubstr(line + "\n"));
  EXPECT_THAT(result.output, Not(HasSubstr("BAD")));
}

TEST_F(InstallerTest, TheDoctorFindsTheInstallationGoneAfterRemoval) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  ASSERT_EQ(RemoveProducts(), 0u);
  const ToolResult result = RunTool(L"shellprobe.exe", {L"doctor"});
  EXPECT_EQ(result.exitCode, 20u);
  EXPECT_THAT(result.output, HasSubstr("BAD   the registry names no library\n"));
}

TEST_F(InstallerTest, WhatIsInstalledWorksThroughCom) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  const ToolResult result = ProbeIconOfVersion(kVersionText);
  EXPECT_EQ(result.exitCode, 0u) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("a.txt.ghpl: 256x256"));
}

TEST_F(InstallerTest, RemovalLeavesTheMachineAsItWas) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_EQ(ProbeIconOfVersion(kVersionText).exitCode, 0u);
  ASSERT_EQ(RunInstaller({L"/x", ShippedPackage()}), 0u);
  ExpectSame(Clean(), TakeMachineState());
}

TEST_F(InstallerTest, AFailingFirstInstallationLeavesNothing) {
  EXPECT_NE(Install(RefusingPackage()), 0u);
  ExpectSame(Clean(), TakeMachineState());
}

TEST_F(InstallerTest, WhatCannotBeInstalledLeavesTheInstalledVersionAsItWas) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  const MachineState installed = TakeMachineState();
  EXPECT_NE(Install(RefusingPackage()), 0u);
  ExpectSame(installed, TakeMachineState());
  EXPECT_EQ(Install(OlderPackage()), static_cast<DWORD>(ERROR_INSTALL_FAILURE));
  ExpectSame(installed, TakeMachineState());
  EXPECT_EQ(ProbeIconOfVersion(kVersionText).exitCode, 0u);
}

TEST_F(InstallerTest, ReinstallingMendsWhatIsMissing) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  ASSERT_TRUE(::DeleteFileW((VersionFolder(kVersionText) + L"\\VeskardShellExt.dll").c_str()));
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kFileType);
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL"}), 0u);
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
}

TEST_F(InstallerTest, AnUpgradeReplacesTheOlderVersion) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(OlderPackage()), 0u);
  EXPECT_EQ(IconHandler(), kOlderIconClass);
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_THAT(InstalledProducts(), SizeIs(1));
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
  ASSERT_EQ(RemoveProducts(), 0u);
  ExpectSame(Clean(), TakeMachineState());
}

// What the agent's own installer made is not this package's to take away.
TEST_F(InstallerTest, KeepsTheFileTypeThatItFound) {
  const std::wstring icon = std::wstring(kFileType) + L"\\DefaultIcon";
  WriteRegistryText(HKEY_LOCAL_MACHINE, kBinding, L"", L"Nimbrel Veskard Agent");
  WriteRegistryText(HKEY_LOCAL_MACHINE, kFileType, L"", L"The agent's own name");
  WriteRegistryText(HKEY_LOCAL_MACHINE, icon, L"", L"%1");
  const MachineState before = TakeMachineState();
  ASSERT_EQ(Install(OlderPackage()), 0u);
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_EQ(ReadMachineText(kFileType), L"The agent's own name");
  ASSERT_EQ(RemoveProducts(), 0u);
  ExpectSame(before, TakeMachineState());
}

TEST_F(InstallerTest, TakesTheExtensionFromAnotherFileType) {
  WriteRegistryText(HKEY_LOCAL_MACHINE, kBinding, L"", L"Something else");
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_EQ(ReadMachineText(kBinding), L"Nimbrel Veskard Agent");
  ASSERT_EQ(RemoveProducts(), 0u);
  EXPECT_EQ(ReadMachineText(kBinding), std::nullopt);
}

// One icon for all placeholders would keep the Shell from asking for each file's own.
TEST_F(InstallerTest, ReplacesAnotherIconOfTheFileType) {
  const std::wstring icon = std::wstring(kFileType) + L"\\DefaultIcon";
  WriteRegistryText(HKEY_LOCAL_MACHINE, icon, L"", L"C:\\agent.ico");
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_EQ(ReadMachineText(icon), L"%1");
  ASSERT_EQ(RemoveProducts(), 0u);
  EXPECT_EQ(ReadMachineText(icon), std::nullopt);
}

}  // namespace
}  // namespace veskard::test
