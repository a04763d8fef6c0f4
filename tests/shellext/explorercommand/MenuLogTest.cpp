// The log of the first menu beside that of the classic one, and the language of both.
#include <cstdlib>
#include <optional>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/shellext/explorercommand/FirstMenu.h"

namespace veskard::test {
namespace {

using Lines = std::vector<std::wstring>;

class MenuLogTest : public FirstMenuTest {
 protected:
  // Both libraries open the log when their class is asked for the first time: that is over.
  MenuLogTest() {
    ClassicLines({});
    FirstLines({});
  }

  Lines FirstLines(const std::vector<std::wstring>& paths) {
    MenuFor(paths);
    return log_.NewLines();
  }

  Lines ClassicLines(const std::vector<std::wstring>& paths) {
    const MenuHandler handler(classic_);
    FakeDataObject selection(paths);
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    handler.Query(menu.Get());
    handler.Select(nullptr);
    return log_.NewLines();
  }

  // The first menu writes what the classic one does, except for the first line.
  void ExpectTheSameLines(const std::vector<std::wstring>& paths) {
    Lines expected = ClassicLines(paths);
    ASSERT_GE(expected.size(), 2u);
    ASSERT_EQ(expected[0], L"Called context menu");
    expected[0] = L"Called first menu";
    EXPECT_EQ(FirstLines(paths), expected);
  }

  ExtensionLibrary classic_;
};

TEST_F(MenuLogTest, AMenuWritesTheClassicLinesWithAnotherFirstOne) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  const std::wstring file = tree_.MakeFile(L"root\\a.txt");
  ExpectTheSameLines({file});
  ExpectTheSameLines(
      {file, tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving), tree_.MakeFolder(L"root\\c")});
  EXPECT_EQ(FirstLines({file}), (Lines{L"Called first menu", L"Added menu item - remove from this",
                                       L"Added menu item - remove from all", L"End of menu handler"}));
}

TEST_F(MenuLogTest, SoDoesAMenuWithoutItems) {
  ExpectTheSameLines({tree_.MakeFile(L"outside.txt")});
  tree_.MarkRoot(L"root", kNotSelective);
  ExpectTheSameLines({tree_.MakeFile(L"root\\a.txt")});
  ExpectTheSameLines({tree_.Path(L"root\\gone.txt")});
  ExpectTheSameLines({});
}

TEST_F(MenuLogTest, SoDoesAMenuWithoutAnAgent) {
  service_ = std::nullopt;
  ExpectTheSameLines({tree_.MakeFile(L"outside.txt")});
}

TEST_F(MenuLogTest, AnswersFromTheSnapshotWriteNothing) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  StandInArray selection({tree_.MakeFile(L"root\\a.txt")});
  const auto flyOut = library_.NewFlyOut();
  StateOf(*flyOut.Get(), &selection);
  EXPECT_EQ(log_.NewLines().size(), 4u);
  FirstMenuLetters(*flyOut.Get(), &selection);
  EXPECT_EQ(log_.NewLines(), Lines{});
}

TEST_F(MenuLogTest, NeitherDoWhatIsPendingNorACommand) {
  StandInArray selection({L"\\\\server\\share\\a.txt"});
  const auto flyOut = library_.NewFlyOut();
  EXPCMDSTATE state = ECS_ENABLED;
  EXPECT_EQ(flyOut.Get()->GetState(&selection, FALSE, &state), E_PENDING);
  EXPECT_EQ(ChildrenOf(*flyOut.Get())[2].Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_EQ(log_.NewLines(), Lines{});
}

TEST_F(MenuLogTest, TheSwitchOfTheLogTakesEffectWithTheNextFlyOut) {
  SetLogSwitch(0);
  const std::wstring file = tree_.MakeFile(L"outside.txt");
  EXPECT_EQ(FirstLines({file}), Lines{L"==== end ===="});
  EXPECT_EQ(FirstLines({file}), Lines{});
  SetLogSwitch(1);
  EXPECT_THAT(FirstLines({file}), testing::Contains(L"=== start ==="));
}

TEST_F(MenuLogTest, SoItDoesWhileAnotherFlyOutLives) {
  const auto living = library_.NewFlyOut();
  const std::wstring file = tree_.MakeFile(L"outside.txt");
  SetLogSwitch(0);
  EXPECT_EQ(FirstLines({file}), Lines{L"==== end ===="});
  ASSERT_EQ(::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Nimbrel"), ERROR_SUCCESS);
  EXPECT_THAT(FirstLines({file}), testing::Contains(L"=== start ==="));
  SetLogSwitch(0);
  EXPECT_EQ(FirstLines({file}), Lines{L"==== end ===="});
}

// ---- The language; run once more where the user's is German

TEST_F(MenuLogTest, TheTextsAreThoseOfTheClassicMenu) {
  const MenuHandler handler(classic_);
  const auto children = ChildrenOf(*library_.NewFlyOut().Get());
  for (UINT i = 0; i < 4; ++i) {
    wchar_t text[200] = {};
    EXPECT_EQ(
        handler.Menu()->GetCommandString(i + 2, GCS_HELPTEXTW, nullptr, reinterpret_cast<char*>(text), 200),
        S_OK);
    EXPECT_EQ(TextOf(*children[i].Get(), &IExplorerCommand::GetTitle), text);
  }
  const char* const locale = std::getenv("LC_ALL");
  const bool isGerman = locale != nullptr && std::string(locale).starts_with("de");
  EXPECT_EQ(TextOf(*children[0].Get(), &IExplorerCommand::GetTitle) != L"Sync to this device", isGerman);
}

}  // namespace
}  // namespace veskard::test
