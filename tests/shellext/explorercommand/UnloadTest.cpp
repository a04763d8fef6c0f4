// DllCanUnloadNow: what keeps the library loaded.
#include <optional>

#include "tests/shellext/explorercommand/FirstMenu.h"

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

TEST_F(UnloadTest, ASenderKeepsItFromBeforeTheCommandReturns) {
  service_ = std::nullopt;
  std::optional<FakeAgent> agent(std::in_place, AgentKind::kService, FakeAgent::Reading::kNothing);
  {
    StandInArray selection({std::wstring(30'000, L'x')});
    const auto children = ChildrenOf(*library_.NewFlyOut().Get());
    for (int i = 0; i < 20; ++i) EXPECT_EQ(children[2].Get()->Invoke(&selection, nullptr), S_OK);
  }
  EXPECT_EQ(library_.DllCanUnloadNow(), S_FALSE) << "no thread may have run yet";
  agent.reset();
  for (int i = 0; i < 1000 && library_.DllCanUnloadNow() == S_FALSE; ++i) ::Sleep(10);
  EXPECT_EQ(library_.DllCanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace veskard::test
