// What counts as selected, and what items may do wrong.
#include <shlwapi.h>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ShellSelection.h"

namespace veskard::test {
namespace {

class SelectionTest : public FirstMenuTest {
 protected:
  SelectionTest() {
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    file_ = tree_.MakeFile(L"root\\a.txt");
    placeholder_ = tree_.MakePlaceholder(L"root\\b.ghpl", kNotReceived);
    outside_ = tree_.MakeFile(L"c.txt");
  }

  std::wstring file_, placeholder_, outside_;
};

TEST_F(SelectionTest, TheFirstPathDecidesTheFolder) {
  EXPECT_EQ(MenuFor({file_, outside_}), "RA");
  EXPECT_EQ(MenuFor({outside_, file_}), "");
}

TEST_F(SelectionTest, AFirstPathThatIsGoneStillDecides) {
  EXPECT_EQ(MenuFor({tree_.Path(L"root\\gone.txt"), file_}), "");
}

TEST_F(SelectionTest, NoArrayHides) {
  EXPECT_EQ(FirstMenuLetters(*library_.NewFlyOut().Get(), nullptr), "");
}

TEST_F(SelectionTest, AFailingCountOffersNothing) {
  StandInArray selection({file_});
  selection.FailCount(E_FAIL);
  EXPECT_EQ(MenuOf(selection), "");
  EXPECT_EQ(selection.ItemQuestions(), 0);
}

TEST_F(SelectionTest, AFailingItemEndsTheList) {
  StandInArray selection({file_, placeholder_, placeholder_});
  selection.FailItemAt(1, E_OUTOFMEMORY);
  EXPECT_EQ(MenuOf(selection), "RA");
  EXPECT_EQ(selection.ItemQuestions(), 2);
}

TEST_F(SelectionTest, AFirstItemThatFailsLeavesNothing) {
  StandInArray selection({file_});
  selection.FailItemAt(0, E_FAIL);
  EXPECT_EQ(MenuOf(selection), "");
}

TEST_F(SelectionTest, AnItemThatIsNullEndsTheList) {
  StandInArray selection({file_, placeholder_});
  selection.FailItemAt(1, S_OK);
  EXPECT_EQ(MenuOf(selection), "RA");
}

// The pointer that comes with the failure leads nowhere: following or freeing it would end
// this test.
TEST_F(SelectionTest, AFailingNameSkipsTheItem) {
  StandInArray selection({outside_, file_});
  selection.At(0).FailName(E_INVALIDARG);
  EXPECT_EQ(MenuOf(selection), "RA");
}

TEST_F(SelectionTest, ANullNameSkipsTheItem) {
  StandInArray selection({outside_, file_});
  selection.At(0).GiveNullName();
  EXPECT_EQ(MenuOf(selection), "RA");
}

TEST_F(SelectionTest, AnEmptyNameSkipsTheItem) {
  EXPECT_EQ(MenuFor({L"", file_}), "RA");
}

TEST_F(SelectionTest, ItemsWithoutAPathAloneGetNothing) {
  StandInArray selection({file_, file_});
  selection.At(0).FailName(E_FAIL);
  selection.At(1).GiveNullName();
  EXPECT_EQ(MenuOf(selection), "");
}

TEST_F(SelectionTest, ThisPcHasNoPathAndIsSkipped) {
  const auto selection = NewShellArrayWithThisPc({file_});
  EXPECT_EQ(FirstMenuLetters(*library_.NewFlyOut().Get(), selection.Get()), "RA");
}

// Room for four thousand million paths cannot be had.
TEST_F(SelectionTest, MemoryFollowsTheItemsAndNotTheCount) {
  StandInArray selection({file_, placeholder_});
  selection.SayCount(0xFFFFFFFF);
  EXPECT_EQ(MenuOf(selection), "SRA");
  EXPECT_EQ(selection.ItemQuestions(), 3);
}

TEST_F(SelectionTest, ACountThatIsTooSmallCounts) {
  StandInArray selection({file_, placeholder_});
  selection.SayCount(1);
  EXPECT_EQ(MenuOf(selection), "RA");
}

// ---- Long names

class LongNameTest : public SelectionTest {
 protected:
  // A file in the folder whose path has that many characters.
  std::wstring FileOfLength(size_t length) const {
    const std::wstring path = FolderForLength(tree_.Path(L"root"), length, 5) + L"\\a.txt";
    EXPECT_EQ(path.size(), length);
    WriteBytes(L"\\\\?\\" + path, "");
    return path;
  }

  // What the library asks the disk about the path itself.
  std::vector<std::wstring> QuestionsAbout(const std::wstring& path) const {
    std::vector<std::wstring> asked;
    const Patched<&::GetFileAttributesW> attributes(library_.Module(), "GetFileAttributesW",
                                                    [&](auto original, LPCWSTR name) {
                                                      if (std::wstring(name).ends_with(L"\\a.txt"))
                                                        asked.push_back(name);
                                                      return original(name);
                                                    });
    EXPECT_EQ(MenuFor({path}), "RA");
    return asked;
  }
};

TEST_F(LongNameTest, ANameOf259CharactersIsOpenedAsItIs) {
  const std::wstring path = FileOfLength(259);
  EXPECT_EQ(QuestionsAbout(path), std::vector<std::wstring>{path});
}

TEST_F(LongNameTest, ANameOf260CharactersIsOpenedInItsLongForm) {
  const std::wstring path = FileOfLength(260);
  EXPECT_EQ(QuestionsAbout(path), std::vector<std::wstring>{L"\\\\?\\" + path});
}

TEST_F(LongNameTest, AMuchLongerNameIsOpenedInItsLongForm) {
  const std::wstring path = FileOfLength(2000);
  EXPECT_EQ(QuestionsAbout(path), std::vector<std::wstring>{L"\\\\?\\" + path});
}

TEST_F(LongNameTest, ANameWithTheLongPrefixIsOpenedAsItIs) {
  const std::wstring path = L"\\\\?\\" + FileOfLength(300);
  EXPECT_EQ(QuestionsAbout(path), std::vector<std::wstring>{path});
}

// Here the system looks for an extension in paths of the usual length only, as documented.
TEST_F(LongNameTest, ALongPlaceholderIsOne) {
  const std::wstring path = FolderForLength(tree_.Path(L"root"), 500, 6) + L"\\a.ghpl";
  WriteBytes(L"\\\\?\\" + path, "");
  WriteBytes(L"\\\\?\\" + path + L":com.nimbrel.VeskardAgent", kReceiving);
  const Patched<&::PathFindExtensionW> limited(
      library_.Module(), "PathFindExtensionW", [](auto original, LPCWSTR name) {
        const size_t length = ::wcslen(name);
        return length < MAX_PATH ? original(name) : const_cast<wchar_t*>(name + length);
      });
  EXPECT_EQ(MenuFor({path}), "Ca");
}

TEST_F(LongNameTest, ALongShareNameIsOpenedInItsLongForm) {
  const std::wstring rest = L"server\\share\\" + std::wstring(250, L'x') + L"\\a.txt";
  std::vector<std::wstring> asked;
  const Patched<&::GetFileAttributesW> attributes(library_.Module(), "GetFileAttributesW",
                                                  [&](auto, LPCWSTR name) {
                                                    asked.push_back(name);
                                                    return INVALID_FILE_ATTRIBUTES;
                                                  });
  EXPECT_EQ(MenuFor({L"\\\\" + rest}), "");
  EXPECT_EQ(asked, std::vector<std::wstring>{L"\\\\?\\UNC\\" + rest});
}

}  // namespace
}  // namespace veskard::test
