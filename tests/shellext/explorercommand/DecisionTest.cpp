// Which children a selection gets: the whole table, with made-up items and with the shell's.
#include "tests/shellext/explorercommand/DecisionRows.h"
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/ShellSelection.h"

namespace veskard::test {
namespace {

class MadeUpItems : public FirstMenuTest, public testing::WithParamInterface<DecisionRow> {};
class ShellItems : public FirstMenuTest, public testing::WithParamInterface<DecisionRow> {};

TEST_P(MadeUpItems, GetTheirChildren) {
  EXPECT_EQ(MenuFor(GetParam().select(tree_)), GetParam().letters);
}

TEST_P(ShellItems, GetTheirChildren) {
  const auto selection = NewShellArray(GetParam().select(tree_));
  ASSERT_TRUE(selection);
  EXPECT_EQ(FirstMenuLetters(*library_.NewFlyOut().Get(), selection.Get()), GetParam().letters);
}

std::string NameOfRow(const testing::TestParamInfo<DecisionRow>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Row, MadeUpItems, testing::ValuesIn(DecisionRows()), NameOfRow);
INSTANTIATE_TEST_SUITE_P(Row, ShellItems, testing::ValuesIn(DecisionRowsOnDisk()), NameOfRow);

}  // namespace
}  // namespace veskard::test
