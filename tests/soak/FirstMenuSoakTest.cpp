// Thousands of menus of Explorer's own in one process, and a command of each tenth.
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/soak/Soak.h"

namespace veskard::test {
namespace {

class FirstMenuSoakTest : public FirstMenuTest {
 protected:
  FirstMenuSoakTest() {
    tree_.MarkRoot(L"root", kSelective);
    paths_ = {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kNotReceived),
              tree_.MakeFile(L"root\\c.txt")};
  }

  void Round(int number) {
    SwitchLogFor(number);
    StandInArray selection(paths_);
    Show(selection);
    if (number % 10 == 0) Choose(selection);
  }

  void Show(StandInArray& selection) const {
    const ExplorerCommandPointer flyOut = library_.NewFlyOut();
    EXPCMDSTATE state = ECS_CHECKED;
    ASSERT_EQ(flyOut.Get()->GetState(&selection, FALSE, &state), S_OK);
    ASSERT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "SRa");
    for (const auto& child : ChildrenOf(*flyOut.Get())) {
      ASSERT_NE(TextOf(*child.Get(), &IExplorerCommand::GetTitle, &selection), L"");
      ASSERT_NE(TextOf(*child.Get(), &IExplorerCommand::GetIcon, &selection), L"");
    }
  }

  // The agent's mutex is there and its pipe is not: the sender ends at once.
  void Choose(StandInArray& selection) const {
    ASSERT_EQ(ChildrenOf(*library_.NewFlyOut().Get())[0].Get()->Invoke(&selection, nullptr), S_OK);
    while (library_.DllCanUnloadNow() != S_OK) ::Sleep(1);
  }

  std::vector<std::wstring> paths_;
};

TEST_F(FirstMenuSoakTest, NothingIsLeftOfAnyMenu) {
  ExpectFlat("menus of Explorer's own", [this](int number) { Round(number); });
}

}  // namespace
}  // namespace veskard::test
