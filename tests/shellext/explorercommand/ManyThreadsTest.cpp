// Eight threads at one fly-out, one child and one enumerator.
#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <thread>

#include "tests/shellext/explorercommand/FirstMenu.h"

namespace veskard::test {
namespace {

constexpr int kThreads = 8;

/// Runs it on eight threads, which begin together, and waits for all.
void RunTogether(const std::function<void(int thread)>& task) {
  std::atomic<int> missing = kThreads;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      --missing;
      while (missing > 0) ::Sleep(0);
      task(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

class ManyThreadsTest : public FirstMenuTest {
 protected:
  ManyThreadsTest() {
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    paths_ = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFolder(L"root\\b"),
              tree_.MakePlaceholder(L"root\\c.ghpl", kReceiving), tree_.MakeFile(L"outside.txt")};
  }

  const std::wstring& PathOf(int thread) const { return paths_[static_cast<size_t>(thread) % paths_.size()]; }
  static const char* LettersOf(int thread) {
    constexpr const char* kLetters[] = {"RA", "SRA", "Ca", ""};
    return kLetters[thread % 4];
  }

  static EXPCMDSTATE QuickStateOf(IExplorerCommand& command, IShellItemArray* selection) {
    EXPCMDSTATE state = ECS_CHECKED;
    EXPECT_EQ(command.GetState(selection, FALSE, &state), S_OK);
    return state;
  }

  std::vector<std::wstring> paths_;
  std::array<std::deque<StandInArray>, kThreads> selections_;  // which the fly-out may remember
  const ExplorerCommandPointer flyOut_ = library_.NewFlyOut();
};

TEST_F(ManyThreadsTest, EachGetsTheMenuOfItsOwnSelections) {
  SetLogSwitch(0);  // each line waits for the disk
  const ExplorerCommandPointer readsTheSwitch = library_.NewFlyOut();
  RunTogether([&](int thread) {
    for (int round = 0; round < 40; ++round) {
      StandInArray& selection =
          selections_[static_cast<size_t>(thread)].emplace_back(std::vector{PathOf(thread + round)});
      EXPECT_EQ(FirstMenuLetters(*flyOut_.Get(), &selection), LettersOf(thread + round));
      EXPECT_EQ(TextOf(*flyOut_.Get(), &IExplorerCommand::GetTitle, &selection), L"Nimbrel Veskard Agent");
    }
    EXPECT_EQ(StateOf(*flyOut_.Get(), nullptr), ECS_HIDDEN);
  });
}

TEST_F(ManyThreadsTest, AllGetTheOneMenuOfOneSelection) {
  for (int round = 0; round < 20; ++round) {
    StandInArray selection(paths_);
    const ExplorerCommandPointer flyOut = library_.NewFlyOut();
    const auto children = ChildrenOf(*flyOut.Get());
    log_.NewLines();
    RunTogether([&](int thread) {
      if (thread % 2 == 0) {
        EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "SCRa");
      } else {
        IExplorerCommand& child = *children[static_cast<size_t>(thread / 2)].Get();
        const EXPCMDSTATE expected = thread / 2 == 3 ? ECS_DISABLED : ECS_ENABLED;
        EXPECT_EQ(QuickStateOf(child, &selection), expected);
        EXPECT_EQ(StateOf(child, &selection), expected);
      }
    });
    EXPECT_EQ(std::ranges::count(log_.NewLines(), L"Called first menu"), 1);
  }
}

TEST_F(ManyThreadsTest, AnEnumeratorHandsOutEachChildOnce) {
  for (int round = 0; round < 50; ++round) {
    UniqueCom<IEnumExplorerCommand> enumerator;
    ASSERT_EQ(flyOut_.Get()->EnumSubCommands(enumerator.Out()), S_OK);
    std::atomic<int> handedOut = 0;
    RunTogether([&](int) {
      IExplorerCommand* child = nullptr;
      while (enumerator.Get()->Next(1, &child, nullptr) == S_OK) {
        const ExplorerCommandPointer held(child);
        ++handedOut;
      }
    });
    EXPECT_EQ(handedOut, 4);
  }
}

TEST_F(ManyThreadsTest, AnEnumeratorMayBeClonedResetAndSkippedAtOnce) {
  UniqueCom<IEnumExplorerCommand> enumerator;
  ASSERT_EQ(flyOut_.Get()->EnumSubCommands(enumerator.Out()), S_OK);
  RunTogether([&](int thread) {
    for (int round = 0; round < 200; ++round) {
      UniqueCom<IEnumExplorerCommand> clone;
      EXPECT_EQ(enumerator.Get()->Clone(clone.Out()), S_OK);
      clone.Get()->Reset();
      IExplorerCommand* children[4] = {};
      ULONG fetched = 0;
      EXPECT_EQ(clone.Get()->Next(4, children, &fetched), S_OK);
      for (IExplorerCommand* child : children) child->Release();
      thread % 2 == 0 ? enumerator.Get()->Reset() : enumerator.Get()->Skip(1);
    }
  });
  enumerator.Get()->Reset();
  EXPECT_EQ(enumerator.Get()->Skip(4), S_OK);
  EXPECT_EQ(enumerator.Get()->Skip(1), S_FALSE);
}

TEST_F(ManyThreadsTest, EachMakesAFlyOutOfOneFactory) {
  const UniqueCom<IClassFactory> factory = library_.Factory();
  RunTogether([&](int thread) {
    for (int round = 0; round < 50; ++round) {
      ExplorerCommandPointer flyOut;
      ASSERT_EQ(factory.Get()->CreateInstance(nullptr, IID_IExplorerCommand,
                                              reinterpret_cast<void**>(flyOut.Out())),
                S_OK);
      StandInArray selection({PathOf(thread)});
      EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), LettersOf(thread));
      flyOut.Reset();
      EXPECT_EQ(selection.References(), 0u);
    }
  });
}

}  // namespace
}  // namespace veskard::test
