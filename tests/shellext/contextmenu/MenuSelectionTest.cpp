#include "shellext/contextmenu/MenuSelection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "shellext/contextmenu/DropNames.h"
#include "tests/support/DropData.h"
#include "tests/support/Patched.h"
#include "tests/support/SyncTree.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

using test::SyncTree;

MenuSelection Inspect(const std::vector<std::wstring>& items) {
  const test::DropListForTest drop(items);
  return InspectSelection(DropNames(drop.Get(), kLongestNameInMenu));
}

TEST(MenuSelectionTest, NoItemAtAllLiesInNoFolder) {
  const MenuSelection selection = Inspect({});
  EXPECT_FALSE(selection.inSyncFolder);
  EXPECT_FALSE(selection.isSelective);
  EXPECT_TRUE(selection.isOwner);
}

// What a selection's items are: d a directory, n needs a download, r being received,
// l local.
std::string ItemsOf(const MenuSelection& selection) {
  std::string items;
  if (selection.anyDirectory) items += 'd';
  if (selection.needsDownload) items += 'n';
  if (selection.receiving) items += 'r';
  if (selection.hasLocalFile) items += 'l';
  return items;
}

TEST(MenuSelectionTest, AnItemIsLocalOrNeedsADownloadOrIsBeingReceived) {
  struct Row {
    const char* name;
    const wchar_t* item;
    std::string_view status;  // of a placeholder; none: a folder
    const char* items;
  };
  const Row rows[] = {
      {"a folder counts as local", L"root\\a", {}, "dl"},
      {"a folder named like a placeholder is read as one", L"root\\a.ghpl", {}, "dn"},
      {"a placeholder that is not received", L"root\\a.ghpl", test::kNotReceived, "n"},
      {"a placeholder that is being received", L"root\\a.ghpl", test::kReceiving, "r"},
      {"progress zero", L"root\\a.ghpl", "d10:vlk_statusi0ee", "r"},
      {"progress a hundred", L"root\\a.ghpl", "d10:vlk_statusi100ee", "r"},
      {"another negative progress", L"root\\a.ghpl", "d10:vlk_statusi2147483650ee", "n"},
      {"the extension in any case", L"root\\a.GhPl", test::kNotReceived, "n"},
  };
  for (const Row& row : rows) {
    SyncTree tree;
    tree.MarkRoot(L"root", test::kSelective);
    const MenuSelection selection = Inspect(
        {row.status.empty() ? tree.MakeFolder(row.item) : tree.MakePlaceholder(row.item, row.status)});
    EXPECT_EQ(ItemsOf(selection), row.items) << row.name;
    EXPECT_TRUE(selection.InOwnSelectiveFolder()) << row.name;
  }
}

TEST(MenuSelectionTest, ItemsThatAreGoneAreSkipped) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::kSelective);
  const MenuSelection selection =
      Inspect({tree.MakePlaceholder(L"root\\a.ghpl", test::kNotReceived), tree.Path(L"root\\gone.txt")});
  EXPECT_TRUE(selection.needsDownload);
  EXPECT_FALSE(selection.hasLocalFile);
}

TEST(MenuSelectionTest, AFirstItemThatIsGoneLeavesTheFolderUnknown) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::kSelective);
  EXPECT_FALSE(Inspect({tree.Path(L"root\\gone.txt"), tree.MakeFile(L"root\\a.txt")}).inSyncFolder);
}

TEST(MenuSelectionTest, OnlyTheFirstItemDecidesAboutTheFolder) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::kSelectiveRemovable);
  const MenuSelection selection = Inspect(
      {tree.MakePlaceholder(L"root\\a.ghpl", test::kNotReceived), tree.MakeFile(L"elsewhere\\b.txt")});
  EXPECT_TRUE(selection.InOwnSelectiveFolder());
  EXPECT_TRUE(selection.removableEverywhere);
  EXPECT_TRUE(selection.hasLocalFile);
}

TEST(MenuSelectionTest, OutsideASelectiveFolderTheOtherItemsAreNotLookedAt) {
  SyncTree tree;
  tree.MarkRoot(L"whole", test::kNotSelective);
  const MenuSelection selection = Inspect({tree.MakeFile(L"whole\\a.txt"), tree.MakeFolder(L"whole\\b")});
  EXPECT_TRUE(selection.inSyncFolder);
  EXPECT_FALSE(selection.isSelective);
  EXPECT_FALSE(selection.anyDirectory);
  EXPECT_FALSE(selection.hasLocalFile);
}

TEST(MenuSelectionTest, TheFolderSaysWhatMayBeRemoved) {
  SyncTree tree;
  tree.MarkRoot(L"a", "d31:disable_remove_from_all_devicesi1e4:modei1e4:typei2ee");
  tree.MarkRoot(L"b", "d4:modei1e4:typei3ee");
  const MenuSelection a = Inspect({tree.MakeFile(L"a\\x")});
  EXPECT_TRUE(a.removableEverywhere);
  EXPECT_TRUE(a.removeAllDisabled);
  const MenuSelection b = Inspect({tree.MakeFile(L"b\\x")});
  EXPECT_FALSE(b.removableEverywhere);
  EXPECT_FALSE(b.removeAllDisabled);
}

TEST(MenuSelectionTest, AnItemInANestedFolderIsJudgedByTheOuterOne) {
  SyncTree tree;
  tree.MarkRoot(L"outer", test::kNotSelective);
  tree.MarkRoot(L"outer\\inner", test::kSelective);
  EXPECT_FALSE(Inspect({tree.MakeFile(L"outer\\inner\\a.txt")}).isSelective);
}

TEST(MenuSelectionTest, TheRootOfANestedFolderIsJudgedByItself) {
  SyncTree tree;
  tree.MarkRoot(L"outer", test::kNotSelective);
  EXPECT_TRUE(Inspect({tree.MarkRoot(L"outer\\inner", test::kSelective)}).isSelective);
}

TEST(MenuSelectionTest, ARootItselfIsJudgedByItself) {
  SyncTree tree;
  EXPECT_TRUE(Inspect({tree.MarkRoot(L"root", test::kSelective)}).InOwnSelectiveFolder());
}

TEST(MenuSelectionTest, TheAgentsMetadataIsInNoFolder) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::kSelective);
  EXPECT_FALSE(Inspect({tree.Path(L"root\\.sync")}).inSyncFolder);
  EXPECT_FALSE(Inspect({tree.Path(L"root\\.sync\\ID")}).inSyncFolder);
}

TEST(MenuSelectionTest, TheOwnerIsTheUserOnlyCharacterForCharacter) {
  SyncTree tree;
  const std::string user = Utf8FromWide(CurrentUserName());
  ASSERT_GT(user.size(), 1u) << "or a part of it is everybody";
  std::string otherCase = user;
  otherCase[0] = static_cast<char>(otherCase[0] ^ 0x20);
  for (const std::string& owner :
       {user, user + "x", user.substr(1), user.substr(0, user.size() - 1), otherCase}) {
    tree.MarkRoot(L"root", test::SelectiveOwnedBy(owner));
    EXPECT_EQ(Inspect({tree.MakeFile(L"root\\x")}).isOwner, owner == user) << owner;
  }
}

TEST(MenuSelectionTest, AnEmptyOwnerIsEverybody) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::SelectiveOwnedBy(""));
  EXPECT_TRUE(Inspect({tree.MakeFile(L"root\\x")}).isOwner);
}

TEST(MenuSelectionTest, NamesOf259CharactersAreWholeAndLongerOnesAreCut) {
  SyncTree tree;
  tree.MarkRoot(L"root", test::kSelective);
  const std::wstring prefix = tree.Path(L"root\\");
  const std::wstring longest = tree.MakeFile(L"root\\" + std::wstring(259 - prefix.size(), L'x'));
  ASSERT_EQ(longest.size(), 259u);
  EXPECT_TRUE(Inspect({longest}).hasLocalFile);
  // Cut by one character, the next name is the one that exists.
  EXPECT_TRUE(Inspect({longest + L"y"}).hasLocalFile);
  const std::wstring other = prefix + std::wstring(260 - prefix.size(), L'z');
  EXPECT_FALSE(Inspect({other}).inSyncFolder);
}

TEST(CurrentUserNameTest, ARefusedQuestionGivesTheEmptyName) {
  const test::Patched<&::GetUserNameW> refusal("GetUserNameW", [](auto, LPWSTR buffer, DWORD* size) {
    EXPECT_EQ(*size, 256u);
    buffer[0] = L'x';
    return FALSE;
  });
  EXPECT_EQ(CurrentUserName(), L"");
}

TEST(CurrentUserNameTest, ANameOf255CharactersIsTakenWhole) {
  const test::Patched<&::GetUserNameW> longest("GetUserNameW", [](auto, LPWSTR buffer, DWORD* size) {
    std::fill_n(buffer, 255, L'u');
    buffer[255] = L'\0';
    *size = 256;
    return TRUE;
  });
  EXPECT_EQ(CurrentUserName(), std::wstring(255, L'u'));
}

}  // namespace
}  // namespace veskard
