// The fly-out and its children: what they are, before anything is selected.
#include "tests/shellext/explorercommand/FirstMenu.h"

namespace veskard::test {
namespace {

using FlyOutTest = FirstMenuTest;

TEST_F(FlyOutTest, BearsTheProductsName) {
  EXPECT_EQ(TextOf(*library_.NewFlyOut().Get(), &IExplorerCommand::GetTitle), L"Nimbrel Veskard Agent");
}

TEST_F(FlyOutTest, HasAlwaysTheSameFourChildrenInThisOrder) {
  const auto flyOut = library_.NewFlyOut();
  std::vector<std::wstring> titles;
  for (const auto& child : ChildrenOf(*flyOut.Get()))
    titles.push_back(TextOf(*child.Get(), &IExplorerCommand::GetTitle));
  EXPECT_EQ(titles, (std::vector<std::wstring>{L"Sync to this device", L"Cancel receiving",
                                               L"Remove from this device", L"Remove from all devices"}));
}

TEST_F(FlyOutTest, ShowsWhatTheClassicMenuWould) {
  tree_.MarkRoot(L"root", kSelectiveRemovable);
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"root\\a.txt")}), "RA");
  EXPECT_EQ(MenuFor({tree_.MakeFolder(L"root\\b")}), "SRA");
  EXPECT_EQ(MenuFor({tree_.MakePlaceholder(L"root\\c.ghpl", kReceiving)}), "Ca");
  EXPECT_EQ(MenuFor({tree_.MakeFile(L"outside.txt")}), "");
}

}  // namespace
}  // namespace veskard::test
