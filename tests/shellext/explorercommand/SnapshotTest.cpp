// One menu is inspected once: which questions ask the selection and the disk, who waits for
// whom, and what is held meanwhile.
#include <atomic>
#include <optional>
#include <thread>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/WatchedCalls.h"

namespace veskard::test {
namespace {

class SnapshotTest : public FirstMenuTest {
 protected:
  SnapshotTest() {
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    file_ = tree_.MakeFile(L"root\\a.txt");
    placeholder_ = tree_.MakePlaceholder(L"root\\b.ghpl", kNotReceived);
  }

  // What the disk would say differently from now on.
  void TakeTheFolderAway() { tree_.MarkRoot(L"root", kNotSelective); }

  std::wstring file_, placeholder_;
};

// ---- Asked once

TEST_F(SnapshotTest, TheFlyOutAsksForItsChildren) {
  StandInArray selection({file_, placeholder_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  const long questions = selection.Questions();
  TakeTheFolderAway();
  const WatchedCalls calls(library_.Module(), {"GetFileAttributesW", "CreateFileW", "OpenMutexW"});
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "SRA");
  EXPECT_EQ(selection.Questions(), questions);
  EXPECT_EQ(calls.Of("GetFileAttributesW") + calls.Of("CreateFileW") + calls.Of("OpenMutexW"), 0);
}

TEST_F(SnapshotTest, AChildThatIsAskedFirstAsksForTheFlyOutAndTheOthers) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  const auto children = ChildrenOf(*flyOut.Get());
  EXPECT_EQ(StateOf(*children[3].Get(), &selection), ECS_ENABLED);
  const long questions = selection.Questions();
  TakeTheFolderAway();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(StateOf(*children[0].Get(), &selection), ECS_HIDDEN);
  EXPECT_EQ(StateOf(*children[2].Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(selection.Questions(), questions);
}

TEST_F(SnapshotTest, EachItemIsAskedForItsNameOnce) {
  StandInArray selection({file_, placeholder_});
  FirstMenuLetters(*library_.NewFlyOut().Get(), &selection);
  EXPECT_EQ(selection.CountQuestions(), 1);
  EXPECT_EQ(selection.ItemQuestions(), 2);
  EXPECT_EQ(selection.NameQuestions(), 2);
}

TEST_F(SnapshotTest, AnotherPointerToTheSameArrayIsTheSameMenu) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  TakeTheFolderAway();
  EXPECT_EQ(StateOf(*flyOut.Get(), selection.OtherFace()), ECS_ENABLED);
}

TEST_F(SnapshotTest, AnAgentThatGoesMeanwhileChangesNothing) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  service_ = std::nullopt;
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "RA");
}

TEST_F(SnapshotTest, AnAgentThatComesMeanwhileChangesNothing) {
  service_ = std::nullopt;
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_HIDDEN);
  service_.emplace(AgentKind::kService);
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "");
  EXPECT_EQ(selection.Questions(), 0);
}

// ---- Asked anew

TEST_F(SnapshotTest, AnotherFlyOutInspectsAnew) {
  StandInArray selection({file_});
  EXPECT_EQ(FirstMenuLetters(*library_.NewFlyOut().Get(), &selection), "RA");
  TakeTheFolderAway();
  EXPECT_EQ(FirstMenuLetters(*library_.NewFlyOut().Get(), &selection), "");
}

TEST_F(SnapshotTest, AnotherArrayIsInspectedAnew) {
  StandInArray first({file_}), second({placeholder_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &first), "RA");
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &second), "SA");
}

TEST_F(SnapshotTest, AChildThatIsAskedAboutAnotherArrayAnswersForThatOne) {
  StandInArray first({file_}), second({placeholder_});
  const auto flyOut = library_.NewFlyOut();
  const auto children = ChildrenOf(*flyOut.Get());
  EXPECT_EQ(StateOf(*flyOut.Get(), &first), ECS_ENABLED);
  EXPECT_EQ(StateOf(*children[0].Get(), &second), ECS_ENABLED);
  EXPECT_EQ(StateOf(*children[0].Get(), &first), ECS_HIDDEN);
}

TEST_F(SnapshotTest, NoArrayIsNotTheArrayBefore) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(StateOf(*flyOut.Get(), nullptr), ECS_HIDDEN);
  for (const auto& child : ChildrenOf(*flyOut.Get())) EXPECT_EQ(StateOf(*child.Get(), nullptr), ECS_HIDDEN);
}

TEST_F(SnapshotTest, AnArrayWithoutIdentityIsInspectedEachTimeAndNotHeld) {
  StandInArray selection({file_});
  selection.RefuseIdentity();
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(selection.References(), 0u);
  TakeTheFolderAway();
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_HIDDEN);
}

// ---- Not asked at all

TEST_F(SnapshotTest, TitleIconToolTipAndChildrenNeverInspect) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  const auto children = ChildrenOf(*flyOut.Get());
  const WatchedCalls calls(library_.Module(), {"GetFileAttributesW", "CreateFileW", "OpenMutexW"});
  for (IExplorerCommand* command : {flyOut.Get(), children[0].Get()}) {
    TextOf(*command, &IExplorerCommand::GetTitle, &selection);
    TextOf(*command, &IExplorerCommand::GetIcon, &selection);
    wchar_t* tip = nullptr;
    command->GetToolTip(&selection, &tip);
  }
  ChildrenOf(*flyOut.Get());
  EXPECT_EQ(selection.Questions(), 0);
  EXPECT_EQ(selection.References(), 0u);
  EXPECT_EQ(calls.Of("GetFileAttributesW") + calls.Of("CreateFileW") + calls.Of("OpenMutexW"), 0);
}

// ---- What is held

TEST_F(SnapshotTest, TheArrayIsHeldWhileItIsRemembered) {
  StandInArray first({file_}), second({file_});
  {
    const auto flyOut = library_.NewFlyOut();
    StateOf(*flyOut.Get(), &first);
    EXPECT_EQ(first.References(), 1u);
    StateOf(*flyOut.Get(), &second);
    EXPECT_EQ(first.References(), 0u);
    EXPECT_EQ(second.References(), 1u);
    EXPECT_EQ(second.ItemsHeld(), 0);
  }
  EXPECT_EQ(second.References(), 0u);
}

TEST_F(SnapshotTest, AChildKeepsItAfterTheFlyOutIsGone) {
  StandInArray selection({file_});
  {
    auto flyOut = library_.NewFlyOut();
    const auto children = ChildrenOf(*flyOut.Get());
    StateOf(*flyOut.Get(), &selection);
    flyOut.Reset();
    EXPECT_EQ(selection.References(), 1u);
    TakeTheFolderAway();
    EXPECT_EQ(StateOf(*children[2].Get(), &selection), ECS_ENABLED);
  }
  EXPECT_EQ(selection.References(), 0u);
}

// A new array at the address of one that is gone is another menu: it cannot be there while
// the old one is held.
TEST_F(SnapshotTest, AnArrayThatIsAskedAboutWithoutPatienceIsHeldToo) {
  StandInArray selection({L"\\\\server\\share\\a.txt"});
  const auto flyOut = library_.NewFlyOut();
  EXPCMDSTATE state = ECS_ENABLED;
  EXPECT_EQ(flyOut.Get()->GetState(&selection, FALSE, &state), E_PENDING);
  EXPECT_EQ(selection.References(), 1u);
}

// ---- Items that call back

TEST_F(SnapshotTest, AnItemMayAskAgainOnTheSameThread) {
  StandInArray selection({file_, placeholder_});
  const auto flyOut = library_.NewFlyOut();
  bool isInside = false;
  EXPCMDSTATE inside = ECS_CHECKED;
  selection.At(1).BeforeName([&] {
    if (std::exchange(isInside, true)) return;
    inside = StateOf(*flyOut.Get(), &selection);
  });
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(inside, ECS_ENABLED);
}

TEST_F(SnapshotTest, AnItemMayWaitForAnotherThreadThatAsks) {
  StandInArray selection({file_, placeholder_});
  const auto flyOut = library_.NewFlyOut();
  const auto children = ChildrenOf(*flyOut.Get());
  std::atomic<bool> isInside = false;
  EXPCMDSTATE inside = ECS_CHECKED;
  selection.At(0).BeforeName([&] {
    if (isInside.exchange(true)) return;
    std::thread([&] { inside = StateOf(*children[0].Get(), &selection); }).join();
  });
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(inside, ECS_ENABLED);
}

TEST_F(SnapshotTest, AnItemMayAskAboutAnotherArray) {
  StandInArray selection({file_}), other({placeholder_});
  const auto flyOut = library_.NewFlyOut();
  std::string inside;
  selection.At(0).BeforeName([&] { inside = FirstMenuLetters(*flyOut.Get(), &other); });
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(inside, "SA");
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "RA");
}

TEST_F(SnapshotTest, AnItemMayTakeTheFlyOutAway) {
  StandInArray selection({file_});
  auto flyOut = library_.NewFlyOut();
  selection.At(0).BeforeName([&] { flyOut.Reset(); });
  IExplorerCommand* const asked = flyOut.Get();
  EXPECT_EQ(StateOf(*asked, &selection), ECS_ENABLED);
  EXPECT_EQ(selection.References(), 0u);
}

TEST_F(SnapshotTest, TheLastReleaseOfAnArrayMayAskAgain) {
  StandInArray first({file_}), second({placeholder_});
  const auto flyOut = library_.NewFlyOut();
  EXPCMDSTATE inside = ECS_CHECKED;
  first.AtTheLastRelease([&] { std::thread([&] { inside = StateOf(*flyOut.Get(), &second); }).join(); });
  StateOf(*flyOut.Get(), &first);
  EXPECT_EQ(StateOf(*flyOut.Get(), &second), ECS_ENABLED);
  EXPECT_EQ(inside, ECS_ENABLED);
}

// The other thread does not wait for an item that answers late.
TEST_F(SnapshotTest, AThreadDoesNotWaitForAnothersItems) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  const UniqueHandle isInside(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const UniqueHandle mayGoOn(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::atomic<int> askers = 0;
  selection.At(0).BeforeName([&] {
    if (askers++ > 0) return;
    ::SetEvent(isInside.Get());
    EXPECT_EQ(::WaitForSingleObject(mayGoOn.Get(), 10'000), WAIT_OBJECT_0) << "the other thread waits";
  });
  std::thread slow([&] { EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED); });
  ::WaitForSingleObject(isInside.Get(), 10'000);
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  ::SetEvent(mayGoOn.Get());
  slow.join();
}

// All of them read the paths, and one inspects: the log shows one menu.
TEST_F(SnapshotTest, ThreadsThatAskAtTheSameTimeShareOneInspection) {
  StandInArray selection({file_, placeholder_});
  const auto flyOut = library_.NewFlyOut();
  std::atomic<int> inside = 0;
  selection.At(1).BeforeName([&] {
    for (++inside; inside < 4;) ::Sleep(1);
  });
  log_.NewLines();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] { EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "SRA"); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(log_.NewLines(),
            (std::vector<std::wstring>{L"Called first menu", L"Added menu item - download",
                                       L"Added menu item - remove from this",
                                       L"Added menu item - remove from all", L"End of menu handler"}));
}

}  // namespace
}  // namespace veskard::test
