// Which items a selection gets, seen from the shell.
#include <algorithm>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/MenuSelection.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/Patched.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using namespace std::string_literals;

using MenuItems = LibraryMenuTest;

// --- What is selected ---

TEST_F(MenuItems, AFolderIsSyncedOrRemovedFromThisDeviceAndGreyedForAllDevices) {
  tree_.MarkRoot(L"root", kSelective);
  EXPECT_EQ(MenuFor({tree_.MakeFolder(L"root\\a")}), "SRa");
}

TEST_F(MenuItems, AFolderOfTypeTwoMayBeRemovedFromAllDevices) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakeFolder(L"root\\a")}), "SRA");
}

TEST_F(MenuItems, ALocalFileIsOnlyRemoved) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt")}), "RA");
}

TEST_F(MenuItems, PlaceholdersThatAreNotReceivedAreSyncedOrRemovedFromAllDevices) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakePlaceholder(L"root\\a.ghpl", kNotReceived),
                     tree_.MakePlaceholder(L"root\\b.ghpl", kNotReceived)}),
            "SA");
}

TEST_F(MenuItems, APlaceholderBeingReceivedIsCancelledAndGreysRemovalFromAllDevices) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  const std::wstring waiting = tree_.MakePlaceholder(L"root\\a.ghpl", kNotReceived);
  const std::wstring receiving = tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving);
  EXPECT_EQ(MenuFor({receiving}), "Ca");
  EXPECT_EQ(MenuFor({waiting, receiving}), "SCa");
}

TEST_F(MenuItems, EverythingAtOnceGetsAllFour) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt"), tree_.MakeFolder(L"root\\b"),
                     tree_.MakePlaceholder(L"root\\c.ghpl", kNotReceived),
                     tree_.MakePlaceholder(L"root\\d.ghpl", kReceiving)}),
            "SCRa");
}

TEST_F(MenuItems, WhereItIsForbiddenNobodyRemovesFromAllDevices) {
  tree_.MarkRoot(L"root", "d31:disable_remove_from_all_devicesi1e4:modei1e4:typei2ee");
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt")}), "R");
  EXPECT_EQ(MenuFor({tree_.MakeFolder(L"root\\b")}), "SR");
  EXPECT_EQ(MenuFor({tree_.MakePlaceholder(L"root\\c.ghpl", kReceiving)}), "C");
}

TEST_F(MenuItems, ItemsThatAreGoneAreSkipped) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakePlaceholder(L"root\\a.ghpl", kNotReceived), tree_.Path(L"root\\gone.txt")}),
            "SA");
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\gone.txt"), tree_.MakeFile(L"root\\b.txt")}), "");
}

// --- Where it lies ---

TEST_F(MenuItems, OnlyTheFirstItemDecidesAboutTheFolder) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  const std::wstring inside = tree_.MakePlaceholder(L"root\\a.ghpl", kNotReceived);
  const std::wstring outside = tree_.MakeFile(L"elsewhere\\b.txt");
  EXPECT_EQ(MenuFor({inside, outside}), "SRA");
  EXPECT_EQ(MenuFor({outside, inside}), "");
}

TEST_F(MenuItems, OutsideEverySyncFolderThereAreNone) {
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"a.txt")}), "");
}

TEST_F(MenuItems, InAFolderThatIsNotSelectiveThereAreNone) {
  EXPECT_EQ(MenuForFileIn(kNotSelective), "");
}

TEST_F(MenuItems, InAFolderWithoutARecordThereAreNone) {
  tree_.MarkRoot(L"root");
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt")}), "");
}

TEST_F(MenuItems, AnyOtherModeThanZeroIsSelective) {
  EXPECT_EQ(MenuForFileIn("d4:modei2ee"), "Ra");
}

TEST_F(MenuItems, AFolderNestedInAnotherIsJudgedByTheOuterOne) {
  tree_.MarkRoot(L"outer", kSelective);
  tree_.MarkRoot(L"outer\\inner", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"outer\\inner\\a.txt")}), "Ra");
}

TEST_F(MenuItems, TheRootOfANestedFolderIsJudgedByItself) {
  tree_.MarkRoot(L"outer", kSelective);
  EXPECT_EQ(MenuFor({tree_.MarkRoot(L"outer\\inner", kSelectiveRemovable)}), "SRA");
  tree_.MarkRoot(L"whole", kNotSelective);
  EXPECT_EQ(MenuFor({tree_.MarkRoot(L"whole\\inner", kSelectiveRemovable)}), "SRA");
}

TEST_F(MenuItems, TheAgentsOwnMetadataGetsNone) {
  tree_.MarkRoot(L"root", kSelective);
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\.sync")}), "");
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\.sync\\ID")}), "");
}

TEST_F(MenuItems, AFolderNamedSyncInOtherCaseIsContent) {
  tree_.MarkRoot(L"root", kSelective);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a\\.Sync\\b.txt")}), "Ra");
}

TEST_F(MenuItems, ADirectoryNamedIdMarksNoRoot) {
  tree_.MakeFolder(L"root\\.sync\\ID");
  tree_.MakeFile(L"root\\.sync\\FolderType", kSelective);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt")}), "");
}

// A drive that is no drive: what the library asks about Q: is answered from a
// folder of the test's.
TEST_F(MenuItems, ADriveWhoseRootIsMarkedServesEveryItemOnIt) {
  tree_.MarkRoot(L"", kSelectiveRemovable);
  tree_.MakeFile(L"a\\b\\c.txt");
  tree_.MakePlaceholder(L"d.ghpl", kReceiving);
  const auto onDrive = [this](const std::wstring& path) {
    return path.starts_with(L"Q:") ? tree_.Path() + path.substr(2) : path;
  };
  const auto askOnDrive = [&](auto original, LPCWSTR path, auto... rest) {
    return original(onDrive(path).c_str(), rest...);
  };
  const Patched<&::GetFileAttributesW> attributes(library_.Module(), "GetFileAttributesW", askOnDrive);
  const Patched<&::CreateFileW> open(library_.Module(), "CreateFileW", askOnDrive);
  const Patched<&::FindFirstFileExW> find(library_.Module(), "FindFirstFileExW", askOnDrive);
  EXPECT_EQ(MenuFor({L"Q:\\a\\b\\c.txt"}), "RA");
  EXPECT_EQ(MenuFor({L"Q:\\d.ghpl"}), "Ca");
}

// --- Whose it is ---

TEST_F(MenuItems, AFolderOfTheUsersOwnGetsThem) {
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy(Utf8FromWide(CurrentUserName()))), "RA");
}

TEST_F(MenuItems, AnEmptyOwnerIsEverybody) {
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy("")), "RA");
}

TEST_F(MenuItems, AnothersFolderGetsNone) {
  const std::string user = Utf8FromWide(CurrentUserName());
  ASSERT_GT(user.size(), 1u) << "or a part of it is everybody";
  std::string otherCase = user;
  otherCase[0] = static_cast<char>(otherCase[0] ^ 0x20);
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy(user + "x")), "");
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy(user.substr(1))), "");
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy(user.substr(0, user.size() - 1))), "");
  EXPECT_EQ(MenuForFileIn(SelectiveOwnedBy(otherCase)), "");
}

// --- What the marks say ---

TEST_F(MenuItems, TheStatusSaysWhetherAPlaceholderIsReceived) {
  tree_.MarkRoot(L"root", kSelective);
  const auto menuFor = [&](std::string_view status) {
    return MenuFor({tree_.MakePlaceholder(L"root\\a.ghpl", status)});
  };
  EXPECT_EQ(menuFor("d10:vlk_statusi0ee"), "Ca");
  EXPECT_EQ(menuFor("d10:vlk_statusi47ee"), "Ca");
  EXPECT_EQ(menuFor("d10:vlk_statusi250ee"), "Ca");
  EXPECT_EQ(menuFor("d10:vlk_status2:47e"), "Ca");
  EXPECT_EQ(menuFor("d10:vlk_statusi4294967295ee"), "Sa");
  EXPECT_EQ(menuFor("d10:vlk_statusi2147483650ee"), "Sa");
  EXPECT_EQ(menuFor("de"), "Sa");
}

TEST_F(MenuItems, AProgressStreamCountsOnlyWithoutADictionary) {
  tree_.MarkRoot(L"root", kSelective);
  const std::string half = "\x32\0\0\0\0\0\0\0"s;
  tree_.WriteStream(L"root\\a.ghpl", L"VLKDOWN", half);
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\a.ghpl")}), "Ca");
  tree_.WriteStream(L"root\\a.ghpl", L"VLKDOWN", half.substr(0, 4));
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\a.ghpl")}), "Sa");
  tree_.WriteStream(L"root\\a.ghpl", L"VLKDOWN", half);
  tree_.MakePlaceholder(L"root\\a.ghpl", "de");
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\a.ghpl")}), "Sa");
}

TEST_F(MenuItems, HostileRecordsCountAsNotSelective) {
  EXPECT_EQ(MenuForFileIn("not a record"), "");
  EXPECT_EQ(MenuForFileIn("d4:mode"), "");
  EXPECT_EQ(MenuForFileIn("d4:modei1e99999999:"), "");
  EXPECT_EQ(MenuForFileIn("d4:modei1e1:x" + std::string(300'000, 'l')), "");
  EXPECT_EQ(MenuForFileIn(std::string(1'000'000, '\xFF')), "");
}

TEST_F(MenuItems, ADeepButWholeRecordStillCounts) {
  EXPECT_EQ(MenuForFileIn("d4:modei1e1:x" + std::string(300'000, 'l') + std::string(300'000, 'e') + "e"),
            "Ra");
}

TEST_F(MenuItems, ARecordThatVanishesBetweenTwoCallsCountsAsMissing) {
  tree_.MarkRoot(L"root", kSelective);
  const std::wstring item = tree_.MakeFile(L"root\\a.txt");
  const std::wstring vanishing = tree_.Path(L"root\\.sync\\FolderType");
  const Patched<&::GetFileAttributesW> patch(library_.Module(), "GetFileAttributesW",
                                             [&](auto original, LPCWSTR path) {
                                               const DWORD attributes = original(path);
                                               if (attributes != INVALID_FILE_ATTRIBUTES)
                                                 ::DeleteFileW(vanishing.c_str());
                                               return attributes;
                                             });
  EXPECT_EQ(MenuFor({item}), "");
}

TEST_F(MenuItems, AnItemOf32767CharactersIsCutAndNotFound) {
  tree_.MarkRoot(L"root", kSelective);
  std::wstring path = tree_.Path(L"root\\");
  path += std::wstring(32767 - path.size(), L'x');
  EXPECT_EQ(MenuFor({path}), "");
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt"), path}), "Ra");
}

TEST_F(MenuItems, AnItemOf259CharactersIsFound) {
  tree_.MarkRoot(L"root", kSelective);
  const std::wstring prefix = tree_.Path(L"root\\");
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\" + std::wstring(259 - prefix.size(), L'x'))}), "Ra");
}

}  // namespace
}  // namespace veskard::test
