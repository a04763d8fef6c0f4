// The identity with which Windows 11 shows the commands in Explorer's own menu: when it is
// registered and removed, and what becomes of the installation when that fails. What
// PowerShell does with the commands only Windows can show: a stand-in writes them down.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/installer/HostProcess.h"
#include "tests/installer/InstallerFixture.h"
#include "tests/installer/MachineState.h"
#include "tests/installer/Packages.h"
#include "tests/installer/ShellStandIn.h"
#include "tests/support/RegistrySandbox.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard::test {
namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr wchar_t kSystemKey[] = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
constexpr wchar_t kRecordKey[] = L"Software\\Nimbrel\\Explorer Extension";
constexpr char kWindows11[] = "22000";

std::string CommandLineStart() {
  return "\"" + ToUtf8(ShellStandIn::Path()) +
         "\" -NoLogo -NoProfile -NonInteractive -ExecutionPolicy Bypass -Command "
         "\"$ErrorActionPreference = 'Stop'; ";
}

/// The call that registers a version's identity, made while its files are there and no
/// other version's.
std::string Registers(const std::wstring& version) {
  const std::string folder = ToUtf8(VersionFolder(version));
  const std::string package = folder + "\\VeskardExplorerCommand.msix";
  return ToUtf8(version) + " " + CommandLineStart() + "Add-AppxPackage -Stage '" + package +
         "' -ExternalLocation '" + folder +
         "\\'; Add-AppxProvisionedPackage -Online -SkipLicense -PackagePath '" + package + "' | Out-Null\"";
}

/// The call that removes it again, made while the files of these versions are there.
std::string Removes(const std::wstring& version, const std::wstring& versionsThere) {
  const std::string text = ToUtf8(version) + ".0";
  return ToUtf8(versionsThere) + " " + CommandLineStart() +
         "Get-AppxProvisionedPackage -Online | Where-Object PackageName -Like 'Nimbrel.VeskardAgent_" + text +
         "_*' | Remove-AppxProvisionedPackage -Online | Out-Null; Get-AppxPackage -AllUsers "
         "Nimbrel.VeskardAgent | Where-Object Version -EQ '" +
         text + "' | Remove-AppxPackage -AllUsers\"";
}

std::string Removes(const std::wstring& version) {
  return Removes(version, version);
}

class FirstLevelMenuTest : public InstallerFixture {
 protected:
  FirstLevelMenuTest() { SetBuild(FromUtf8(kWindows11)); }
  ~FirstLevelMenuTest() override {
    RemoveProducts();
    SetBuild(build_);
  }

  static void SetBuild(const std::wstring& build) {
    WriteRegistryText(HKEY_LOCAL_MACHINE, kSystemKey, L"CurrentBuildNumber", build);
  }
  /// The machine's state, by the build that it had at first.
  MachineState StateAsAtFirst() const {
    SetBuild(build_);
    return TakeMachineState();
  }
  static DWORD InstallWith(const std::wstring& package, const std::wstring& setting) {
    return RunInstaller({L"/i", package, setting});
  }

  ShellStandIn shell_;

 private:
  std::wstring build_ = ReadMachineText(kSystemKey, L"CurrentBuildNumber").value_or(L"");
};

TEST_F(FirstLevelMenuTest, OnWindows11TheIdentityIsRegisteredForAllUsersOnceTheFilesAreThere) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Registers(kVersionText)));
  EXPECT_EQ(ReadMachineText(kRecordKey, L"FirstLevelMenu"), L"1");
}

TEST_F(FirstLevelMenuTest, RemovalTakesTheIdentityAwayBeforeTheFiles) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  shell_.TakeCalls();
  ASSERT_EQ(RemoveProducts(), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Removes(kVersionText)));
  ExpectSame(Clean(), StateAsAtFirst());
}

TEST_F(FirstLevelMenuTest, OnWindows10NothingIsRegistered) {
  for (const wchar_t* build : {L"7601", L"19045", L"21999"}) {
    SetBuild(build);
    EXPECT_EQ(Install(ShippedPackage()), 0u);
    EXPECT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL"}), 0u);
    EXPECT_EQ(RemoveProducts(), 0u);
    EXPECT_THAT(shell_.TakeCalls(), IsEmpty()) << build;
  }
}

TEST_F(FirstLevelMenuTest, LaterBuildsAreWindows11) {
  SetBuild(L"26100");
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Registers(kVersionText)));
}

TEST_F(FirstLevelMenuTest, ARepairRegistersTheIdentityAnew) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  shell_.TakeCalls();
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL"}), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Removes(kVersionText), Registers(kVersionText)));
}

// As after an upgrade of Windows itself.
TEST_F(FirstLevelMenuTest, ARepairRegistersWhatWindows10HadNoUseFor) {
  SetBuild(L"19045");
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  SetBuild(FromUtf8(kWindows11));
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL"}), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Removes(kVersionText), Registers(kVersionText)));
}

TEST_F(FirstLevelMenuTest, AnUpgradeRemovesTheOlderIdentityAndThenRegistersItsOwn) {
  ASSERT_EQ(Install(OlderPackage()), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Registers(kOlderVersion)));
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_THAT(shell_.TakeCalls(),
              ElementsAre(Removes(kOlderVersion, std::wstring(kOlderVersion) + L" " + kVersionText),
                          Registers(kVersionText)));
}

TEST_F(FirstLevelMenuTest, AnUpgradeDoesNotNeedTheOlderLibraryToBeFree) {
  const std::wstring older = VersionFolder(kOlderVersion) + L"\\VeskardExplorerCommand.dll";
  ASSERT_EQ(Install(OlderPackage()), 0u);
  {
    HostProcess host;
    ASSERT_EQ(host.Load(older), "0x00000000");
    EXPECT_THAT(Install(ShippedPackage()), AnyOf(0u, ERROR_SUCCESS_REBOOT_REQUIRED));
    EXPECT_TRUE(std::filesystem::exists(VersionFolder(kVersionText) + L"\\VeskardExplorerCommand.dll"));
    EXPECT_THAT(InstalledProducts(), SizeIs(1));
    shell_.TakeCalls();
    EXPECT_EQ(host.Load(VersionFolder(kVersionText) + L"\\VeskardExplorerCommand.dll"), "0x00000000");
  }
  // Wine leaves a file that is in use where it is.
  std::filesystem::remove_all(VersionFolder(kOlderVersion));
  ASSERT_EQ(RemoveProducts(), 0u);
  ExpectSame(Clean(), StateAsAtFirst());
}

TEST_F(FirstLevelMenuTest, AnUpgradeThatFailsLeavesTheIdentityAlone) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  shell_.TakeCalls();
  EXPECT_NE(Install(RefusingPackage()), 0u);
  EXPECT_THAT(shell_.TakeCalls(), IsEmpty());
}

TEST_F(FirstLevelMenuTest, ARefusedIdentityCostsNothingElseAndTheLogSaysWhy) {
  shell_.Answer(1,
                "Add-AppxPackage : Deployment failed with HRESULT: 0x800B0109, A certificate chain\n"
                "terminated in a root certificate which is not trusted.\n");
  const std::string log = InstallForLog(ShippedPackage());
  EXPECT_THAT(log, HasSubstr("Veskard: Add-AppxPackage : Deployment failed with HRESULT: 0x800B0109"));
  EXPECT_THAT(log, HasSubstr("Veskard: terminated in a root certificate which is not trusted."));
  EXPECT_THAT(log, HasSubstr("Veskard: the program ended with 0x00000001"));
  EXPECT_EQ(IconHandler(), kIconId);
  EXPECT_EQ(ProbeIconOfVersion(kVersionText).exitCode, 0u);
}

TEST_F(FirstLevelMenuTest, WhatGoesWellIsNoFailureInTheLog) {
  const std::string log = InstallForLog(ShippedPackage());
  EXPECT_THAT(log, HasSubstr("Registering the commands for Explorer's own menu"));
  EXPECT_THAT(log, Not(HasSubstr("Veskard: the program")));
}

TEST_F(FirstLevelMenuTest, AFailureToRemoveTheIdentityDoesNotKeepTheFiles) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  shell_.Answer(1, "Remove-AppxPackage : failed\n");
  ASSERT_EQ(RemoveProducts(), 0u);
  ExpectSame(Clean(), StateAsAtFirst());
}

TEST_F(FirstLevelMenuTest, WithoutPowerShellTheInstallationGoesOnAndTheLogSaysSo) {
  std::filesystem::remove(ShellStandIn::Path());
  const std::string log = InstallForLog(ShippedPackage());
  EXPECT_THAT(log, HasSubstr("Veskard: the program could not be started: error 0x00000002"));
  EXPECT_EQ(IconHandler(), kIconId);
}

TEST_F(FirstLevelMenuTest, ItIsLeftOutOnRequest) {
  ASSERT_EQ(InstallWith(ShippedPackage(), L"FIRSTLEVELMENU=0"), 0u);
  EXPECT_THAT(shell_.TakeCalls(), IsEmpty());
  EXPECT_EQ(ReadMachineText(kRecordKey, L"FirstLevelMenu"), L"0");
}

TEST_F(FirstLevelMenuTest, ARepairAndAnUpgradeRememberThatItIsLeftOut) {
  ASSERT_EQ(InstallWith(OlderPackage(), L"FIRSTLEVELMENU=0"), 0u);
  ASSERT_EQ(RunInstaller({L"/i", OlderPackage(), L"REINSTALL=ALL"}), 0u);
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  EXPECT_EQ(ReadMachineText(kRecordKey, L"FirstLevelMenu"), L"0");
  EXPECT_THAT(shell_.TakeCalls(), Each(Not(HasSubstr("Add-Appx"))));
}

TEST_F(FirstLevelMenuTest, ARepairTakesItUpOrLeavesItOutOnRequest) {
  ASSERT_EQ(Install(ShippedPackage()), 0u);
  shell_.TakeCalls();
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL", L"FIRSTLEVELMENU=0"}), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Removes(kVersionText)));
  EXPECT_EQ(ReadMachineText(kRecordKey, L"FirstLevelMenu"), L"0");
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL", L"FIRSTLEVELMENU=1"}), 0u);
  EXPECT_THAT(shell_.TakeCalls(), ElementsAre(Removes(kVersionText), Registers(kVersionText)));
}

}  // namespace
}  // namespace veskard::test
