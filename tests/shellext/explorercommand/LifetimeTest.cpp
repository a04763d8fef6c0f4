// Loading and unloading the library, while its senders live and hundreds of times.
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/ProcessResources.h"

namespace veskard::test {
namespace {

constexpr char kMessage[] = "d6:actioni3e4:lasti1e4:path8:C:\\a.txte";

// The library is loaded by each test itself, so that a test can let go of it.
class LifetimeTest : public testing::Test {
 protected:
  LifetimeTest() { registry_.SetApplicationData(applicationData_.Path()); }

  static bool IsLoaded() { return ::GetModuleHandleW(L"VeskardExplorerCommand.dll") != nullptr; }

  static bool WaitUntilUnloaded() {
    for (int i = 0; i < 1000 && IsLoaded(); ++i) ::Sleep(10);
    return !IsLoaded();
  }

  /// Chooses a command and lets go of every object.
  static void Send(const ExplorerCommandLibrary& library) {
    StandInArray selection({L"C:\\a.txt"});
    EXPECT_EQ(ChildrenOf(*library.NewFlyOut().Get())[0].Get()->Invoke(&selection, nullptr), S_OK);
  }

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
};

TEST_F(LifetimeTest, TheLibraryIsInUseUntilItsSenderEnds) {
  const ExplorerCommandLibrary library;
  EXPECT_EQ(library.DllCanUnloadNow(), S_OK);
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    Send(library);
    EXPECT_EQ(library.DllCanUnloadNow(), S_FALSE) << "as soon as Invoke returns";
    ASSERT_TRUE(agent.WaitForClient());
    EXPECT_EQ(library.DllCanUnloadNow(), S_FALSE);
  }
  for (int i = 0; i < 1000 && library.DllCanUnloadNow() != S_OK; ++i) ::Sleep(10);
  EXPECT_EQ(library.DllCanUnloadNow(), S_OK);
}

TEST_F(LifetimeTest, AHostThatUnloadsItAllTheSameKeepsItForAsLongAsASenderWaits) {
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    Send(ExplorerCommandLibrary());
    ASSERT_TRUE(agent.WaitForClient());
    ::Sleep(100);
    EXPECT_TRUE(IsLoaded());
  }
  EXPECT_TRUE(WaitUntilUnloaded()) << "the agent is gone, the sender should be too";
}

TEST_F(LifetimeTest, SeveralSendersKeepItTogetherAndLeaveOneAfterTheOther) {
  for (int round = 0; round < 10; ++round) {
    FakeAgent agent(AgentKind::kService);
    {
      const ExplorerCommandLibrary library;
      for (int i = 0; i < 4; ++i) Send(library);
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(agent.NextBatch(), PipeMessages{kMessage});
    EXPECT_TRUE(WaitUntilUnloaded());
  }
}

TEST_F(LifetimeTest, ALibraryLoadedAgainMeanwhileGoesOnWorking) {
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    Send(ExplorerCommandLibrary());
    ASSERT_TRUE(agent.WaitForClient());
    const ExplorerCommandLibrary again;
    EXPECT_EQ(TextOf(*again.NewFlyOut().Get(), &IExplorerCommand::GetTitle), L"Nimbrel Veskard Agent");
    EXPECT_EQ(again.DllCanUnloadNow(), S_FALSE);
  }
  EXPECT_TRUE(WaitUntilUnloaded());
}

TEST_F(LifetimeTest, FiveHundredLoadsLeaveNothing) {
  const FakeAgentMutex service(AgentKind::kService);
  SyncTree tree;
  tree.MarkRoot(L"root", kSelectiveRemovable);
  const std::wstring file = tree.MakeFile(L"root\\a.txt");
  constexpr size_t kRounds = 500;
  const auto round = [&] {
    const ExplorerCommandLibrary library;
    StandInArray selection({file});
    EXPECT_EQ(FirstMenuLetters(*library.NewFlyOut().Get(), &selection), "RA");
    EXPECT_EQ(library.DllCanUnloadNow(), S_OK);
  };
  for (int warm = 0; warm < 20; ++warm) round();
  const ProcessResources before = CountProcessResources();
  for (size_t i = 0; i < kRounds; ++i) round();
  ExpectNoGrowth(before, CountProcessResources(), kRounds);
  EXPECT_FALSE(IsLoaded());
}

}  // namespace
}  // namespace veskard::test
