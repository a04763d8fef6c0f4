// Upgrading, failing and removing where 64-bit and 32-bit programs run: each library is
// loaded by a host of its own bitness meanwhile. These need a Wine with its 32-bit half,
// and packages that hold 32-bit libraries of each version.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/installer/HostProcess.h"
#include "tests/installer/InstallerFixture.h"
#include "tests/installer/MachineState.h"
#include "tests/installer/Packages.h"
#include "tools/common/Utf8.h"

namespace veskard::test {
namespace {

using testing::AnyOf;
using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;

constexpr DWORD kDone = ERROR_SUCCESS;
constexpr DWORD kDoneAtRestart = ERROR_SUCCESS_REBOOT_REQUIRED;
constexpr char kOk[] = "0x00000000";

/// A program of each bitness that has the extension loaded.
struct Hosts {
  HostProcess of64Bits{L"installer_host64.exe"};
  HostProcess of32Bits{L"installer_host.exe"};
};

class BothHalvesTest : public InstallerFixture {
 protected:
  /// Each of the hosts gets an object from that version's library for it.
  static void ExpectServed(Hosts& hosts, const std::wstring& classId, const std::wstring& version) {
    EXPECT_EQ(hosts.of64Bits.Activate(classId), std::string(kOk) + " " + ToUtf8(LibraryOf(version)));
    EXPECT_EQ(hosts.of32Bits.Activate(classId), std::string(kOk) + " " + ToUtf8(LibraryFor32BitsOf(version)));
  }

  static void ExpectAlive(Hosts& hosts) {
    EXPECT_EQ(hosts.of64Bits.Ask(), kOk);
    EXPECT_EQ(hosts.of32Bits.Ask(), kOk);
  }

  static bool IsInUse(const std::wstring& path, const std::wstring& version) {
    return path == VersionFolder(version) || path == LibraryOf(version) ||
           path == VersionFolder(version) + L"\\x86" || path == LibraryFor32BitsOf(version);
  }

  /// What a package has added, without the files in use and their folders: Wine leaves
  /// those where they are, Windows moves them away.
  static std::vector<std::wstring> AddedWithoutLibrariesInUse(const std::wstring& version) {
    std::vector<std::wstring> added = AddedByPackage(Clean(), TakeMachineState());
    std::erase_if(added, [&](const std::wstring& path) { return IsInUse(path, version); });
    return added;
  }

  static void ExpectOnlyLibrariesInUse(const std::wstring& version) {
    const std::filesystem::path folder = VersionFolder(version);
    MachineState after = TakeMachineState();
    EXPECT_THAT(Added(after, Clean()), IsEmpty());
    std::erase_if(after.files, [&](const auto& file) { return IsInUse(file.first, version); });
    EXPECT_THAT(Added(Clean(), after), Each(folder.parent_path().wstring()));
    std::filesystem::remove_all(folder.parent_path());
  }
};

TEST_F(BothHalvesTest, EachBitnessIsServedByItsOwnLibrary) {
  ASSERT_TRUE(HasHalfOf32Bits());
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  Hosts hosts;
  ExpectServed(hosts, kMenuId, kVersionText);
  ExpectServed(hosts, kIconId, kVersionText);
  EXPECT_EQ(ServerOf(kIconId), LibraryOf(kVersionText));
  EXPECT_EQ(ServerFor32Bits(kIconId), LibraryFor32BitsOf(kVersionText));
}

TEST_F(BothHalvesTest, AnUpgradeTakesEffectAtOnceInBothAndDisturbsNobody) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(OlderPackage()), kDone);
  {
    Hosts hosts;
    ExpectServed(hosts, kOlderIconClass, kOlderVersion);
    EXPECT_THAT(Install(ShippedPackage()), AnyOf(kDone, kDoneAtRestart));
    ExpectAlive(hosts);
    ExpectServed(hosts, kIconId, kVersionText);
    ExpectServed(hosts, kMenuId, kVersionText);
    EXPECT_EQ(IconHandler(), kIconId);
    EXPECT_THAT(InstalledProducts(), SizeIs(1));
    EXPECT_EQ(ServerOf(kOlderIconClass), L"none");
    EXPECT_EQ(ServerFor32Bits(kOlderIconClass), L"none");
    EXPECT_EQ(AddedWithoutLibrariesInUse(kOlderVersion), expected);
  }
  ASSERT_EQ(RemoveProducts(), kDone);
  ExpectOnlyLibrariesInUse(kOlderVersion);
}

// The 64-bit library of this newer version lets itself be registered, the 32-bit one does not.
TEST_F(BothHalvesTest, AFailingRegistrationFor32BitsLeavesTheInstalledVersionAsItWas) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  Hosts hosts;
  ExpectServed(hosts, kIconId, kVersionText);
  EXPECT_NE(Install(RefusingPackage()), kDone);
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
  ExpectAlive(hosts);
  Hosts fresh;
  ExpectServed(fresh, kIconId, kVersionText);
}

TEST_F(BothHalvesTest, AFailingFirstRegistrationFor32BitsLeavesNothing) {
  EXPECT_NE(Install(RefusingPackage()), kDone);
  ExpectSame(Clean(), TakeMachineState());
}

TEST_F(BothHalvesTest, ReinstallingBringsBackTheLibraryFor32BitsAndItsRegistration) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  const std::wstring classKey = kClasses + L"CLSID\\" + kIconId;
  ASSERT_TRUE(::DeleteFileW(LibraryFor32BitsOf(kVersionText).c_str()));
  for (const std::wstring& key : {classKey + L"\\InprocServer32", classKey})
    ASSERT_EQ(::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), KEY_WOW64_32KEY, 0), ERROR_SUCCESS);
  ASSERT_EQ(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL"}), kDone);
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
}

TEST_F(BothHalvesTest, RemovalUnregistersBothAtOnce) {
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  {
    Hosts hosts;
    ExpectServed(hosts, kIconId, kVersionText);
    EXPECT_THAT(RemoveProducts(), AnyOf(kDone, kDoneAtRestart));
    EXPECT_EQ(IconHandler(), L"none");
    EXPECT_EQ(ServerOf(kIconId), L"none");
    EXPECT_EQ(ServerFor32Bits(kIconId), L"none");
    ExpectAlive(hosts);
  }
  ExpectOnlyLibrariesInUse(kVersionText);
}

}  // namespace
}  // namespace veskard::test
