// Choosing a child: what the agent receives, byte for byte, and what the caller sees.
#include <chrono>
#include <optional>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/ShellSelection.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using namespace std::chrono_literals;

// Has an agent that reads, in place of the mutex alone.
class InvokeTest : public FirstMenuTest {
 protected:
  InvokeTest() {
    service_ = std::nullopt;
    agent_.emplace(AgentKind::kService);
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    file_ = tree_.MakeFile(L"root\\a.txt");
  }

  ExplorerCommandPointer Child(size_t index) const {
    return std::move(ChildrenOf(*library_.NewFlyOut().Get())[index]);
  }
  // Nothing has been asked for a state before.
  std::optional<PipeMessages> Choose(StandInArray& selection, size_t index = 2) {
    EXPECT_EQ(Child(index).Get()->Invoke(&selection, nullptr), S_OK);
    return agent_->NextBatch();
  }
  std::optional<PipeMessages> Choose(const std::vector<std::wstring>& paths, size_t index = 2) {
    StandInArray selection(paths);
    return Choose(selection, index);
  }
  bool NothingComes() { return !agent_->NextBatch(300ms).has_value(); }

  static std::string Message(int action, const std::wstring& path, bool last) {
    const std::string bytes = Utf8FromWide(path);
    return "d6:actioni" + std::to_string(action) + "e" + (last ? "4:lasti1e" : "") + "4:path" +
           std::to_string(bytes.size()) + ":" + bytes + "e";
  }

  std::optional<FakeAgent> agent_;
  std::wstring file_;
};

TEST_F(InvokeTest, EachChildHasItsAction) {
  for (const size_t child : {0u, 1u, 2u, 3u})
    EXPECT_EQ(Choose({file_}, child), PipeMessages{Message(static_cast<int>(child) + 3, file_, true)});
}

TEST_F(InvokeTest, ThePathsComeInOrderAndTheLastOneSaysSo) {
  const std::vector<std::wstring> paths = {L"C:\\z.txt", file_, L"C:\\a\\\u00E4\u20AC\U0001F600.txt"};
  EXPECT_EQ(Choose(paths), (PipeMessages{Message(5, paths[0], false), Message(5, paths[1], false),
                                         Message(5, paths[2], true)}));
}

// "last" stands with the last path, wherever the items without one are.
TEST_F(InvokeTest, ItemsWithoutAPathAreNotSent) {
  StandInArray selection({L"C:\\0.txt", file_, L"C:\\2.txt"});
  selection.At(0).FailName(E_FAIL);
  selection.At(2).GiveNullName();
  EXPECT_EQ(Choose(selection), PipeMessages{Message(5, file_, true)});
}

TEST_F(InvokeTest, AFailingItemEndsTheList) {
  StandInArray selection({file_, L"C:\\2.txt"});
  selection.FailItemAt(1, E_FAIL);
  EXPECT_EQ(Choose(selection), PipeMessages{Message(5, file_, true)});
}

TEST_F(InvokeTest, LongNamesAndPrefixesAreSentAsTheItemGaveThem) {
  const std::vector<std::wstring> paths = {L"C:\\" + std::wstring(260, L'x'),
                                           L"C:\\" + std::wstring(32764, L'y'), L"\\\\?\\C:\\a.txt",
                                           L"\\\\?\\UNC\\server\\share\\a.txt"};
  EXPECT_EQ(Choose(paths), (PipeMessages{Message(5, paths[0], false), Message(5, paths[1], false),
                                         Message(5, paths[2], false), Message(5, paths[3], true)}));
}

TEST_F(InvokeTest, TheShellsItemsAreSentToo) {
  const std::wstring folder = tree_.MakeFolder(L"root\\folder");
  const auto selection = NewShellArrayWithThisPc({file_, folder});
  EXPECT_EQ(Child(2).Get()->Invoke(selection.Get(), nullptr), S_OK);
  EXPECT_EQ(agent_->NextBatch(), (PipeMessages{Message(5, file_, false), Message(5, folder, true)}));
}

TEST_F(InvokeTest, AnEmptySelectionSendsNothing) {
  StandInArray empty;
  EXPECT_EQ(Child(2).Get()->Invoke(&empty, nullptr), S_OK);
  EXPECT_TRUE(NothingComes());
}

TEST_F(InvokeTest, NoArraySendsNothing) {
  EXPECT_EQ(Child(2).Get()->Invoke(nullptr, nullptr), S_OK);
  EXPECT_TRUE(NothingComes());
}

TEST_F(InvokeTest, AFailingCountSendsNothing) {
  StandInArray selection({file_});
  selection.FailCount(E_FAIL);
  EXPECT_EQ(Child(2).Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_TRUE(NothingComes());
}

TEST_F(InvokeTest, AGreyedChildSends) {
  tree_.MarkRoot(L"root", kSelective);
  StandInArray selection({file_});
  const auto child = Child(3);
  ASSERT_EQ(StateOf(*child.Get(), &selection), ECS_DISABLED);
  EXPECT_EQ(child.Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_EQ(agent_->NextBatch(), PipeMessages{Message(6, file_, true)});
}

TEST_F(InvokeTest, AHiddenChildSends) {
  StandInArray selection({file_});
  const auto child = Child(1);
  ASSERT_EQ(StateOf(*child.Get(), &selection), ECS_HIDDEN);
  EXPECT_EQ(child.Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_EQ(agent_->NextBatch(), PipeMessages{Message(4, file_, true)});
}

TEST_F(InvokeTest, TheArrayThatIsGivenCountsAndNotTheOneThatIsRemembered) {
  StandInArray remembered({file_}), given({L"C:\\other.txt"});
  const auto child = Child(2);
  StateOf(*child.Get(), &remembered);
  EXPECT_EQ(child.Get()->Invoke(&given, nullptr), S_OK);
  EXPECT_EQ(agent_->NextBatch(), PipeMessages{Message(5, L"C:\\other.txt", true)});
  EXPECT_EQ(StateOf(*child.Get(), &remembered), ECS_ENABLED);
  EXPECT_EQ(remembered.CountQuestions(), 1) << "it is still remembered";
}

TEST_F(InvokeTest, TheArrayIsUsedOnThisThreadAndDuringTheCallOnly) {
  StandInArray selection({file_, file_});
  const auto child = Child(2);
  EXPECT_EQ(child.Get()->Invoke(&selection, nullptr), S_OK);
  const long questions = selection.Questions();
  EXPECT_EQ(selection.References(), 0u);
  EXPECT_EQ(selection.ItemsHeld(), 0);
  ASSERT_TRUE(agent_->NextBatch().has_value());
  EXPECT_EQ(selection.Questions(), questions);
  EXPECT_EQ(selection.ForeignQuestions(), 0);
}

TEST_F(InvokeTest, WithoutAnAgentItIsTheSameAnswer) {
  agent_ = std::nullopt;
  StandInArray selection({file_});
  EXPECT_EQ(Child(2).Get()->Invoke(&selection, nullptr), S_OK);
}

TEST_F(InvokeTest, AnAgentThatDoesNotReadKeepsNobodyWaiting) {
  agent_ = std::nullopt;
  agent_.emplace(AgentKind::kService, FakeAgent::Reading::kNothing);
  StandInArray selection(std::vector<std::wstring>(1000, file_));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Child(2).Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
  EXPECT_TRUE(agent_->WaitForClient());
  agent_ = std::nullopt;  // a sender that still writes keeps the library
}

TEST_F(InvokeTest, AnItemMayChooseTheCommandOnceMore) {
  StandInArray selection({file_});
  const auto child = Child(2);
  bool isInside = false;
  selection.At(0).BeforeName([&] {
    if (std::exchange(isInside, true)) return;
    EXPECT_EQ(child.Get()->Invoke(&selection, nullptr), S_OK);
  });
  EXPECT_EQ(child.Get()->Invoke(&selection, nullptr), S_OK);
  EXPECT_EQ(agent_->NextBatch(), PipeMessages{Message(5, file_, true)});
  EXPECT_EQ(agent_->NextBatch(), PipeMessages{Message(5, file_, true)});
}

}  // namespace
}  // namespace veskard::test
