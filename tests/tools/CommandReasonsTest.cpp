#include "tools/shellprobe/CommandReasons.h"

#include <gmock/gmock.h>

namespace veskard {
namespace {

using testing::ElementsAre;

MenuSelection InOwnFolder() {
  MenuSelection selection;
  selection.inSyncFolder = true;
  selection.isSelective = true;
  selection.removableEverywhere = true;
  return selection;
}

std::vector<std::string> StatesOf(const MenuSelection& selection) {
  std::vector<std::string> states;
  for (const CommandVerdict& verdict : ExplainCommands(selection)) states.push_back(StateName(verdict.state));
  return states;
}

TEST(CommandReasonsTest, StatesAreTheLibrarysOwn) {
  MenuSelection selection = InOwnFolder();
  selection.anyDirectory = true;
  selection.hasLocalFile = true;
  EXPECT_THAT(StatesOf(selection), ElementsAre("shown", "hidden", "shown", "shown"));
  selection.receiving = true;
  EXPECT_THAT(StatesOf(selection), ElementsAre("shown", "shown", "shown", "greyed"));
  selection.removeAllDisabled = true;
  EXPECT_THAT(StatesOf(selection), ElementsAre("shown", "shown", "shown", "hidden"));
}

TEST(CommandReasonsTest, AFolderThatRulesTheMenuOutIsTheReasonForAll) {
  MenuSelection outside;
  MenuSelection whole = InOwnFolder();
  whole.isSelective = false;
  MenuSelection foreign = InOwnFolder();
  foreign.isOwner = false;
  EXPECT_EQ(ExplainCommands(outside)[0].reason, "the first item is no content of a synchronised folder");
  EXPECT_EQ(ExplainCommands(whole)[2].reason, "the folder is synchronised whole, not selectively");
  EXPECT_EQ(ExplainCommands(foreign)[3].reason, "the folder belongs to another user");
}

TEST(CommandReasonsTest, GreyIsExplainedByTheTypeBeforeTheReceiving) {
  MenuSelection selection = InOwnFolder();
  selection.receiving = true;
  EXPECT_EQ(ExplainCommands(selection)[3].reason, "a placeholder is selected that is being received");
  selection.removableEverywhere = false;
  EXPECT_EQ(ExplainCommands(selection)[3].reason, "the folder's type is not 2");
}

}  // namespace
}  // namespace veskard
