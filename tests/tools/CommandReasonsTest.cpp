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

TEST(CommandReasonsTest, EachCommandHasTheReasonOfItsRule) {
  struct Row {
    MenuSelection selection;
    std::vector<std::string> reasons;
  };
  const auto with = [](bool MenuSelection::*what) {
    MenuSelection selection = InOwnFolder();
    selection.*what = true;
    return selection;
  };
  MenuSelection folder = with(&MenuSelection::anyDirectory);
  folder.hasLocalFile = true;
  MenuSelection forbidden = with(&MenuSelection::hasLocalFile);
  forbidden.removeAllDisabled = true;
  const std::string noDownload = "no folder is selected, and no placeholder that is not being received";
  const std::string noReceiving = "no selected placeholder is being received";
  const std::string noFile = "no folder is selected, and no file that is on this device";
  const std::string file = "a selected file is on this device";
  const std::string type = "the folder's type is 2";
  const Row rows[] = {
      {folder, {"a folder is selected", noReceiving, "a folder is selected", type}},
      {with(&MenuSelection::needsDownload),
       {"a selected placeholder is not being received", noReceiving, noFile, type}},
      {with(&MenuSelection::receiving),
       {noDownload, "a selected placeholder is being received", noFile,
        "a selected placeholder is being received"}},
      {with(&MenuSelection::hasLocalFile), {noDownload, noReceiving, file, type}},
      {forbidden, {noDownload, noReceiving, file, "the folder forbids removing from all devices"}},
  };
  for (const Row& row : rows) {
    std::vector<std::string> reasons;
    for (const CommandVerdict& verdict : ExplainCommands(row.selection)) reasons.push_back(verdict.reason);
    EXPECT_EQ(reasons, row.reasons);
  }
}

TEST(CommandReasonsTest, AFolderThatRulesTheMenuOutIsTheReasonForAll) {
  MenuSelection outside;
  MenuSelection whole = InOwnFolder();
  whole.isSelective = false;
  MenuSelection foreign = InOwnFolder();
  foreign.isOwner = false;
  EXPECT_EQ(ExplainCommands(outside)[0].reason, "the first item is not in a synchronised folder");
  EXPECT_EQ(ExplainCommands(whole)[2].reason, "the folder is synchronised whole, not selectively");
  EXPECT_EQ(ExplainCommands(foreign)[3].reason, "the folder belongs to another user");
}

TEST(CommandReasonsTest, GreyIsExplainedByTheTypeBeforeTheReceiving) {
  MenuSelection selection = InOwnFolder();
  selection.receiving = true;
  EXPECT_EQ(ExplainCommands(selection)[3].reason, "a selected placeholder is being received");
  selection.removableEverywhere = false;
  EXPECT_EQ(ExplainCommands(selection)[3].reason, "the folder's type is not 2");
}

}  // namespace
}  // namespace veskard
