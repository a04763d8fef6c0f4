// DllCanUnloadNow: what keeps the library loaded.
#include <optional>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/Patched.h"
#include "tests/support/WatchedCalls.h"

namespace veskard::test {
namespace {

using UnloadTest = FirstMenuTest;

TEST_F(UnloadTest, WithoutUsersItMayGo) {
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

TEST_F(UnloadTest, AFactoryKeepsIt) {
  auto factory = library_.Factory();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  factory.Reset();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

TEST_F(UnloadTest, AFlyOutKeepsIt) {
  auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  flyOut.Reset();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

TEST_F(UnloadTest, AnEnumeratorAndAChildKeepIt) {
  UniqueCom<IEnumExplorerCommand> enumerator;
  library_.NewFlyOut().Get()->EnumSubCommands(enumerator.Out());
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  UniqueCom<IEnumExplorerCommand> clone;
  enumerator.Get()->Clone(clone.Out());
  enumerator.Reset();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  ExplorerCommandPointer child;
  clone.Get()->Next(1, child.Out(), nullptr);
  clone.Reset();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  child.Reset();
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

TEST_F(UnloadTest, ALockOfTheServerKeepsItOnceForEachLock) {
  const auto lock = [&](BOOL on) { EXPECT_EQ(library_.Factory().Get()->LockServer(on), S_OK); };
  lock(TRUE);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  lock(TRUE);
  lock(FALSE);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  lock(FALSE);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

TEST_F(UnloadTest, UnlockingTooOftenUnlocksNobodyElse) {
  EXPECT_EQ(library_.Factory().Get()->LockServer(FALSE), S_OK);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
  EXPECT_EQ(library_.Factory().Get()->LockServer(TRUE), S_OK);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  EXPECT_EQ(library_.Factory().Get()->LockServer(FALSE), S_OK);
}

class SenderUnloadTest : public UnloadTest {
 protected:
  SenderUnloadTest() { service_ = std::nullopt; }

  void Choose() const {
    StandInArray selection({L"C:\\a.txt"});
    EXPECT_EQ(ChildrenOf(*library_.NewFlyOut().Get())[2].Get()->Invoke(&selection, nullptr), S_OK);
  }
  bool WaitUntilItMayGo() const {
    for (int i = 0; i < 1000 && library_.DllCanUnloadNow() == S_FALSE; ++i) ::Sleep(10);
    return library_.DllCanUnloadNow() == S_OK;
  }
};

// The sender's thread is there when the command returns, and has not run yet.
TEST_F(SenderUnloadTest, ASenderKeepsItFromBeforeTheCommandReturns) {
  FakeAgent agent(AgentKind::kService);
  UniqueHandle thread;
  {
    const Patched<&::CreateThread> suspended(
        library_.Module(), "CreateThread",
        [&](auto original, auto attributes, auto stack, auto entry, auto parameter, auto flags, auto id) {
          const HANDLE made = original(attributes, stack, entry, parameter, flags | CREATE_SUSPENDED, id);
          ::DuplicateHandle(::GetCurrentProcess(), made, ::GetCurrentProcess(), thread.Out(), 0, FALSE,
                            DUPLICATE_SAME_ACCESS);
          return made;
        });
    Choose();
  }
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  ::ResumeThread(thread.Get());
  EXPECT_TRUE(agent.NextBatch().has_value());
  EXPECT_TRUE(WaitUntilItMayGo());
}

TEST_F(SenderUnloadTest, ASenderThatWaitsForItsAgentKeepsIt) {
  {
    const FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    StandInArray selection({std::wstring(30'000, L'x')});
    const auto children = ChildrenOf(*library_.NewFlyOut().Get());
    for (int i = 0; i < 20; ++i) EXPECT_EQ(children[2].Get()->Invoke(&selection, nullptr), S_OK);
    ::Sleep(100);
    EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE);
  }
  EXPECT_TRUE(WaitUntilItMayGo());
}

TEST_F(SenderUnloadTest, ASenderWhoseThreadIsRefusedKeepsNothing) {
  const FakeAgentMutex agent(AgentKind::kService);
  const FailingCall refused("CreateThread", ERROR_NOT_ENOUGH_QUOTA, 1, library_.Module());
  {
    StandInArray selection({L"C:\\a.txt"});
    const auto children = ChildrenOf(*library_.NewFlyOut().Get());
    EXPECT_EQ(children[2].Get()->Invoke(&selection, nullptr), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_QUOTA));
  }
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace veskard::test
