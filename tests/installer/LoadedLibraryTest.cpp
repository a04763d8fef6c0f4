// What happens to a process that has the library loaded while it is upgraded,
// installed again or removed.
//
// Windows moves a file that is in use out of the way or deletes it at the next
// start, and the installer then ends with 3010. Wine's engine leaves the file
// where it is and ends with 0; the tests take such a file away themselves.
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

/// What a host answers when an object comes from that version's library.
std::string ServedBy(const std::wstring& version) {
  return std::string(kOk) + " " + ToUtf8(LibraryOf(version));
}

class LoadedLibraryTest : public InstallerFixture {
 protected:
  /// What a package has added, except the file that is in use, in its folder.
  static std::vector<std::wstring> AddedWithoutTheLibraryInUse(const std::wstring& version) {
    std::vector<std::wstring> added = AddedByPackage(Clean(), TakeMachineState());
    std::erase_if(added, [&](const std::wstring& path) {
      return path == VersionFolder(version) || path == LibraryOf(version);
    });
    return added;
  }

  /// Nothing may be left but the file that was in use, in its folders.
  static void ExpectOnlyTheLibraryInUse(const std::wstring& version) {
    const std::filesystem::path folder = VersionFolder(version);
    const MachineState after = TakeMachineState();
    EXPECT_THAT(Added(after, Clean()), IsEmpty());
    EXPECT_THAT(Added(Clean(), after),
                Each(AnyOf(folder.parent_path().wstring(), folder.wstring(), LibraryOf(version))));
    std::filesystem::remove_all(folder.parent_path());
  }
};

TEST_F(LoadedLibraryTest, AnUpgradeTakesEffectAtOnceAndDisturbsNobody) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(OlderPackage()), kDone);
  {
    HostProcess host;
    ASSERT_EQ(host.Activate(kOlderIconClass), ServedBy(kOlderVersion));
    EXPECT_THAT(Install(ShippedPackage()), AnyOf(kDone, kDoneAtRestart));

    // The object of the older version lives on, its process gets the new version
    // beside it, and so does a new process.
    EXPECT_EQ(host.Ask(), kOk);
    EXPECT_EQ(IconHandler(), kIconId);
    EXPECT_EQ(host.Activate(kIconId), ServedBy(kVersionText));
    EXPECT_EQ(host.Activate(kMenuId), ServedBy(kVersionText));
    EXPECT_EQ(ProbeIconOfVersion(kVersionText).exitCode, kDone);

    EXPECT_THAT(InstalledProducts(), SizeIs(1));
    EXPECT_EQ(ServerOf(kOlderIconClass), L"none");
    EXPECT_EQ(AddedWithoutTheLibraryInUse(kOlderVersion), expected);
  }
  ASSERT_EQ(RemoveProducts(), kDone);
  ExpectOnlyTheLibraryInUse(kOlderVersion);
}

TEST_F(LoadedLibraryTest, AFailingUpgradeDisturbsNobody) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  HostProcess host;
  ASSERT_EQ(host.Activate(kIconId), ServedBy(kVersionText));
  EXPECT_NE(Install(RefusingPackage()), kDone);
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
  EXPECT_EQ(host.Ask(), kOk);
  EXPECT_EQ(HostProcess().Activate(kIconId), ServedBy(kVersionText));
}

TEST_F(LoadedLibraryTest, TheSameVersionAgainKeepsTheRegistration) {
  const std::vector<std::wstring> expected = AddedByShippedPackage();
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  HostProcess host;
  ASSERT_EQ(host.Activate(kIconId), ServedBy(kVersionText));
  EXPECT_THAT(RunInstaller({L"/i", ShippedPackage(), L"REINSTALL=ALL", L"REINSTALLMODE=amus"}),
              AnyOf(kDone, kDoneAtRestart));
  EXPECT_EQ(AddedByPackage(Clean(), TakeMachineState()), expected);
  EXPECT_EQ(HostProcess().Activate(kIconId), ServedBy(kVersionText));
}

TEST_F(LoadedLibraryTest, RemovalUnregistersAtOnce) {
  ASSERT_EQ(Install(ShippedPackage()), kDone);
  {
    HostProcess host;
    ASSERT_EQ(host.Activate(kIconId), ServedBy(kVersionText));
    EXPECT_THAT(RemoveProducts(), AnyOf(kDone, kDoneAtRestart));
    EXPECT_EQ(IconHandler(), L"none");
    EXPECT_EQ(host.Ask(), kOk);
  }
  ExpectOnlyTheLibraryInUse(kVersionText);
}

}  // namespace
}  // namespace veskard::test
