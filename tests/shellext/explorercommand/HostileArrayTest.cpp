// Selections that are not what they should be: whatever an array or an item answers, when,
// and on which thread, the commands give their answer and hold nothing afterwards. Failing
// counts, items and names are in SelectionTest.cpp, items that ask again in SnapshotTest.cpp.
#include <atomic>
#include <deque>
#include <thread>
#include <utility>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/ProcessResources.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

constexpr DWORD kEndless = 0xFFFFFFFF;
constexpr size_t kRemoveFromThisDevice = 2;

std::string Message(const std::wstring& path, bool last = true) {
  const std::string bytes = Utf8FromWide(path);
  return "d6:actioni5e" + std::string(last ? "4:lasti1e" : "") + "4:path" + std::to_string(bytes.size()) +
         ":" + bytes + "e";
}

/// One run of a function on a thread of its own, waited for at the end.
class Aside {
 public:
  template <class Run>
  explicit Aside(Run run) : thread_(std::move(run)) {}
  ~Aside() { thread_.join(); }
  Aside(const Aside&) = delete;
  Aside& operator=(const Aside&) = delete;

 private:
  std::thread thread_;
};

class HostileArrayTest : public FirstMenuTest {
 protected:
  HostileArrayTest() {
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    file_ = tree_.MakeFile(L"root\\a.txt");
    folder_ = tree_.MakeFolder(L"root\\b");
    receiving_ = tree_.MakePlaceholder(L"root\\c.ghpl", kReceiving);
  }

  StandInArray& Select(const std::vector<std::wstring>& paths) { return selections_.emplace_back(paths); }

  std::string Letters(StandInArray& selection) const { return FirstMenuLetters(*flyOut_.Get(), &selection); }
  EXPCMDSTATE State(IShellItemArray* selection) const { return StateOf(*flyOut_.Get(), selection); }

  /// Chooses "Remove from this device".
  HRESULT Choose(StandInArray& selection) const {
    return ChildrenOf(*flyOut_.Get())[kRemoveFromThisDevice].Get()->Invoke(&selection, nullptr);
  }

  std::wstring file_, folder_, receiving_;
  std::deque<StandInArray> selections_;  // the fly-out may remember one
  const ExplorerCommandPointer flyOut_ = library_.NewFlyOut();
};

// --- Counts ---

TEST_F(HostileArrayTest, ACountWithoutEndEndsWithTheItems) {
  StandInArray& selection = Select({file_, folder_});
  selection.SayCount(kEndless);
  const size_t before = PrivateBytes();
  EXPECT_EQ(Letters(selection), "SRA");
  EXPECT_LT(PrivateBytes(), before + (size_t{1} << 20)) << "memory for items that are not there";
  EXPECT_EQ(selection.ItemQuestions(), 3);
}

TEST_F(HostileArrayTest, ACommandOfACountWithoutEndIsSentForTheItemsThatAreThere) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_, folder_});
  selection.SayCount(kEndless);
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{Message(file_, false), Message(folder_)}));
}

TEST_F(HostileArrayTest, ACountWithoutEndOfNothingHides) {
  StandInArray& selection = Select({});
  selection.SayCount(kEndless);
  EXPECT_EQ(Letters(selection), "");
}

// --- Names ---

TEST_F(HostileArrayTest, NamesThatNameNothingHideAndHarmNothing) {
  for (const wchar_t* name :
       {L"", L" ", L":", L"C:", L"\\", L"\\\\", L"\\\\?", L"\\\\?\\", L"\\\\.\\", L"\\\\?\\UNC\\", L"..",
        L"*", L"\\\\?\\GLOBALROOT", L"::{20D04FE0-3AEA-1069-A2D8-08002B30309D}", L"\xD800", L"\n", L"//",
        L"C:\\\\"}) {
    for (const BOOL mayBeSlow : {FALSE, TRUE}) {
      StandInArray& selection = Select({name});
      EXPCMDSTATE state = ECS_CHECKED;
      const HRESULT result = flyOut_.Get()->GetState(&selection, mayBeSlow, &state);
      EXPECT_TRUE(result == S_OK || (!mayBeSlow && result == E_PENDING)) << Utf8FromWide(name);
      EXPECT_EQ(state, ECS_HIDDEN) << Utf8FromWide(name);
    }
  }
}

TEST_F(HostileArrayTest, ANameOf32767CharactersHidesAndIsSentWhole) {
  constexpr size_t kLongest = 32767;
  FakeAgent agent(AgentKind::kService);
  std::wstring path = tree_.Path(L"root");
  while (path.size() + 200 < kLongest) path += L"\\" + std::wstring(180, L'x');
  path += L"\\" + std::wstring(kLongest - path.size() - 1, L'y');
  ASSERT_EQ(path.size(), kLongest);
  StandInArray& selection = Select({path, file_});
  EXPECT_EQ(Letters(selection), "") << "the first path decides, and nothing is there";
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{Message(path, false), Message(file_)}));
}

TEST_F(HostileArrayTest, ANameThatIsLongerThanAnyPathHidesAndIsSentWhole) {
  FakeAgent agent(AgentKind::kService);
  const std::wstring path = tree_.Path(L"root\\") + std::wstring(200'000, L'x');
  StandInArray& selection = Select({path});
  EXPECT_EQ(Letters(selection), "");
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{Message(path)});
}

// --- Items that vanish and lie ---

TEST_F(HostileArrayTest, AListThatVanishesWhileItIsReadEndsThere) {
  StandInArray& selection = Select({file_, receiving_, folder_});
  selection.At(0).BeforeName([&] { selection.FailItemAt(1, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)); });
  EXPECT_EQ(Letters(selection), "RA");
}

TEST_F(HostileArrayTest, AFileThatVanishesWhileItsNameIsReadIsSkipped) {
  StandInArray& selection = Select({file_, receiving_});
  selection.At(1).BeforeName([&] { ::DeleteFileW(receiving_.c_str()); });
  EXPECT_EQ(Letters(selection), "RA");
}

TEST_F(HostileArrayTest, FilesThatVanishAfterTheMenuIsShownAreSentAllTheSame) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_});
  EXPECT_EQ(Letters(selection), "RA");
  ::DeleteFileW(file_.c_str());
  EXPECT_EQ(Letters(selection), "RA") << "the menu is shown already";
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{Message(file_)});
}

TEST_F(HostileArrayTest, AnArrayThatHasNothingAnyMoreWhenACommandIsChosenSendsNothing) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_});
  EXPECT_EQ(Letters(selection), "RA");
  selection.FailCount(E_FAIL);
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(std::chrono::milliseconds(100)), std::nullopt);
}

TEST_F(HostileArrayTest, AnItemThatGivesAnotherNameEachTimeGivesOneMenu) {
  StandInArray& selection = Select({file_});
  selection.At(0).BeforeName(
      [&, asked = 0]() mutable { selection.At(0).Rename(asked++ % 2 == 0 ? receiving_ : file_); });
  EXPECT_EQ(Letters(selection), "Ca");
  EXPECT_EQ(Letters(selection), "Ca");
  EXPECT_EQ(selection.NameQuestions(), 1);
}

TEST_F(HostileArrayTest, WhatAnItemSaysWhenACommandIsChosenIsSent) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_});
  EXPECT_EQ(Letters(selection), "RA");
  selection.At(0).Rename(folder_);
  EXPECT_EQ(Choose(selection), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{Message(folder_)});
}

// --- Items that call back ---

TEST_F(HostileArrayTest, AnArrayMayAskForTheSameMenuWhileItCounts) {
  StandInArray& selection = Select({file_});
  bool isInside = false;
  selection.BeforeCount([&] {
    if (!std::exchange(isInside, true)) {
      EXPECT_EQ(Letters(selection), "RA");
    }
  });
  EXPECT_EQ(Letters(selection), "RA");
  EXPECT_TRUE(isInside);
}

TEST_F(HostileArrayTest, AnArrayMayAskForTheSameMenuWhileItIsAskedWhoItIs) {
  StandInArray& selection = Select({file_});
  bool isInside = false;
  selection.BeforeIdentity([&] {
    if (!std::exchange(isInside, true)) {
      EXPECT_EQ(Letters(selection), "RA");
    }
  });
  EXPECT_EQ(Letters(selection), "RA");
  EXPECT_TRUE(isInside);
}

TEST_F(HostileArrayTest, AnArrayMayWaitForAnotherThreadThatAsksForAnotherMenu) {
  StandInArray& selection = Select({file_});
  StandInArray& other = Select({receiving_});
  selection.BeforeCount([&] { Aside([&] { EXPECT_EQ(Letters(other), "Ca"); }); });
  EXPECT_EQ(Letters(selection), "RA");
}

TEST_F(HostileArrayTest, AnItemMayWaitForAnotherThreadThatChoosesACommand) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_});
  StandInArray& other = Select({folder_});
  selection.At(0).BeforeName([&] { Aside([&] { EXPECT_EQ(Choose(other), S_OK); }); });
  EXPECT_EQ(Choose(selection), S_OK);
  // Each has a sender of its own, and either may be the first to connect.
  const std::vector<std::optional<PipeMessages>> arrived = {agent.NextBatch(), agent.NextBatch()};
  EXPECT_THAT(arrived,
              testing::UnorderedElementsAre(PipeMessages{Message(folder_)}, PipeMessages{Message(file_)}));
}

// --- Items that answer late ---

TEST_F(HostileArrayTest, AnItemThatAnswersLateHoldsNobodyElse) {
  const UniqueHandle asked(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const UniqueHandle mayAnswer(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  StandInArray& late = Select({file_});
  StandInArray& other = Select({folder_});
  std::atomic<bool> isFirst = true;
  late.At(0).BeforeName([&] {
    if (!isFirst.exchange(false)) return;
    ::SetEvent(asked.Get());
    EXPECT_EQ(::WaitForSingleObject(mayAnswer.Get(), 60'000), WAIT_OBJECT_0);
  });
  {
    const Aside waiting([&] { EXPECT_EQ(State(&late), ECS_ENABLED); });
    ASSERT_EQ(::WaitForSingleObject(asked.Get(), 60'000), WAIT_OBJECT_0);
    EXPECT_EQ(Letters(late), "RA") << "the same menu";
    EXPECT_EQ(Letters(other), "SRA") << "another one";
    EXPECT_EQ(State(nullptr), ECS_HIDDEN);
    EXPECT_EQ(TextOf(*flyOut_.Get(), &IExplorerCommand::GetTitle, &late), L"Nimbrel Veskard Agent");
    ::SetEvent(mayAnswer.Get());
  }
  EXPECT_EQ(Letters(other), "SRA");
  EXPECT_EQ(Letters(late), "RA");
}

// --- Hosts that let go in the middle ---

TEST_F(HostileArrayTest, AnArrayThatTheHostReleasesInTheMiddleLivesToTheEnd) {
  FakeAgent agent(AgentKind::kService);
  for (const bool isChosen : {false, true}) {
    StandInArray& selection = Select({file_, folder_});
    selection.AddRef();
    bool isGone = false, isOurs = true;
    selection.AtTheLastRelease([&] { isGone = true; });
    selection.At(0).BeforeName([&] {
      if (std::exchange(isOurs, false)) {
        EXPECT_GT(selection.Release(), 0u);
      }
    });
    if (isChosen) {
      EXPECT_EQ(Choose(selection), S_OK);
      EXPECT_TRUE(isGone) << "not used after the call";
      EXPECT_EQ(agent.NextBatch(), (PipeMessages{Message(file_, false), Message(folder_)}));
    } else {
      EXPECT_EQ(State(&selection), ECS_ENABLED);
      EXPECT_FALSE(isGone) << "remembered";
    }
    selection.AtTheLastRelease({});
    EXPECT_EQ(selection.ItemsHeld(), 0);
  }
}

TEST_F(HostileArrayTest, AnArrayWithoutIdentityLivesToTheEndToo) {
  StandInArray& selection = Select({file_, folder_});
  selection.RefuseIdentity();
  selection.AddRef();
  selection.At(0).BeforeName([&] { EXPECT_GT(selection.Release(), 0u); });
  EXPECT_EQ(State(&selection), ECS_ENABLED);
  EXPECT_EQ(selection.References(), 0u);
}

TEST_F(HostileArrayTest, AChildThatTheHostReleasesInTheMiddleSendsItsCommand) {
  FakeAgent agent(AgentKind::kService);
  StandInArray& selection = Select({file_});
  auto children = ChildrenOf(*library_.NewFlyOut().Get());
  IExplorerCommand* const chosen = children[kRemoveFromThisDevice].Get();
  selection.At(0).BeforeName([&] { children.clear(); });
  EXPECT_EQ(chosen->Invoke(&selection, nullptr), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{Message(file_)});
}

TEST_F(HostileArrayTest, TheLibraryIsInUseUntilTheLastArrayIsLetGo) {
  HRESULT canUnload = E_UNEXPECTED;
  StandInArray& selection = Select({file_});
  const ExplorerCommandLibrary other;
  {
    const ExplorerCommandPointer flyOut = other.NewFlyOut();
    EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
    selection.AtTheLastRelease([&] { canUnload = other.DllCanUnloadNow(); });
  }
  EXPECT_EQ(canUnload, S_FALSE);
}

}  // namespace
}  // namespace veskard::test
