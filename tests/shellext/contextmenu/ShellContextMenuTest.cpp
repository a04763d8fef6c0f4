// The handler in the scopes that no host gets to see: the built library only ever
// sets that of the service.
#include "shellext/contextmenu/ShellContextMenu.h"

#include <gtest/gtest.h>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/ShellContextMenu.h"
#include "shellext/module/ClassFactory.h"
#include "tests/support/DropData.h"
#include "tests/support/SyncTree.h"

namespace veskard {
namespace {

// No agent runs during these tests.
class HandlerScopeTest : public testing::Test {
 protected:
  HandlerScopeTest() { tree_.MarkRoot(L"root", test::kSelectiveRemovable); }
  ~HandlerScopeTest() override { SetAgentScope(AgentScope::kUnset); }

  static UniqueCom<IContextMenu> NewHandler() {
    const UniqueCom<IClassFactory> factory = HoldCom<IClassFactory>(new ClassFactory<ShellContextMenu>());
    UniqueCom<IContextMenu> handler;
    EXPECT_EQ(
        factory.Get()->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(handler.Out())),
        S_OK);
    return handler;
  }

  // What the handler answers for a local file in a folder with commands.
  HRESULT Query(const UniqueCom<IContextMenu>& handler) {
    UniqueCom<IShellExtInit> init;
    EXPECT_EQ(handler.Get()->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(init.Out())), S_OK);
    init.Get()->Initialize(nullptr, &selection_, nullptr);
    return handler.Get()->QueryContextMenu(menu_.Get(), 0, 1, 100, CMF_NORMAL);
  }

  test::SyncTree tree_;
  test::FakeDataObject selection_{{tree_.MakeFile(L"root\\a.txt")}};  // outlives the handlers
  UniqueMenu menu_{::CreatePopupMenu()};
};

TEST_F(HandlerScopeTest, TheFirstHandlerSetsTheScopeOfTheService) {
  SetAgentScope(AgentScope::kUnset);
  NewHandler();
  EXPECT_EQ(CurrentAgentScope(), AgentScope::kService);
}

TEST_F(HandlerScopeTest, AScopeThatIsSetStays) {
  SetAgentScope(AgentScope::kUser);
  NewHandler();
  EXPECT_EQ(CurrentAgentScope(), AgentScope::kUser);
}

TEST_F(HandlerScopeTest, WithoutTheServiceThereIsNoMenu) {
  SetAgentScope(AgentScope::kService);
  EXPECT_EQ(Query(NewHandler()), E_NOTIMPL);
  EXPECT_EQ(::GetMenuItemCount(menu_.Get()), 0);
}

// Its agent is started when a command is chosen.
TEST_F(HandlerScopeTest, InTheUsersScopeTheMenuNeedsNoAgent) {
  SetAgentScope(AgentScope::kUser);
  EXPECT_EQ(Query(NewHandler()), 6);
  EXPECT_EQ(::GetMenuItemCount(menu_.Get()), 2);
}

}  // namespace
}  // namespace veskard
