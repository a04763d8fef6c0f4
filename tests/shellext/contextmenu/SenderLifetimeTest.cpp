// A sender that an agent keeps waiting, and hosts that do not wait for it.
#include <string>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/ChildProcess.h"

namespace veskard::test {
namespace {

// The library is loaded by each test itself, so that a test can let go of it.
class SenderLifetimeTest : public testing::Test {
 protected:
  SenderLifetimeTest() { registry_.SetApplicationData(applicationData_.Path()); }

  static bool IsLoaded() { return ::GetModuleHandleW(L"VeskardShellExt.dll") != nullptr; }

  static bool WaitUntilUnloaded() {
    for (int i = 0; i < 1000 && IsLoaded(); ++i) ::Sleep(10);
    return !IsLoaded();
  }

  // Loads the library, chooses a command and lets go of everything.
  static void SendAndLetGo() {
    const ExtensionLibrary library;
    const MenuHandler handler(library);
    EXPECT_EQ(handler.Invoke(1), S_OK);
  }

  // Runs the host beside this test to its end, which comes when its sender has reached an
  // agent that lets it wait.
  static DWORD ExitCodeOfHost(const std::wstring& arguments) {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    const UniqueHandle mayLeave(::CreateEventW(nullptr, TRUE, FALSE, L"Local\\veskard-exiting-host"));
    const ChildProcess host(BuiltTestProgram(L"exiting_host.exe"), arguments);
    EXPECT_TRUE(agent.WaitForClient()) << "there is no sender to wait for";
    ::SetEvent(mayLeave.Get());
    return host.Wait();
  }

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
};

TEST_F(SenderLifetimeTest, AHostMayUnloadTheLibraryOnceItsCommandIsSent) {
  FakeAgent agent(AgentKind::kService);
  SendAndLetGo();
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"});
  EXPECT_TRUE(WaitUntilUnloaded());
}

TEST_F(SenderLifetimeTest, TheLibraryStaysLoadedForAsLongAsASenderWaits) {
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    SendAndLetGo();
    ASSERT_TRUE(agent.WaitForClient());
    ::Sleep(300);
    EXPECT_TRUE(IsLoaded());
  }
  EXPECT_TRUE(WaitUntilUnloaded()) << "the agent is gone, the sender should be too";
}

TEST_F(SenderLifetimeTest, SeveralSendersKeepItTogetherAndLeaveOneAfterTheOther) {
  for (int round = 0; round < 10; ++round) {
    FakeAgent agent(AgentKind::kService);
    {
      const ExtensionLibrary library;
      const MenuHandler handler(library);
      for (int i = 0; i < 4; ++i) EXPECT_EQ(handler.Invoke(1), S_OK);
    }
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(agent.NextBatch().has_value());
    EXPECT_TRUE(WaitUntilUnloaded());
  }
}

TEST_F(SenderLifetimeTest, ALibraryLoadedAgainMeanwhileGoesOnWorking) {
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    SendAndLetGo();
    ASSERT_TRUE(agent.WaitForClient());
    const ExtensionLibrary again;
    const MenuHandler handler(again);
    char text[50] = {};
    EXPECT_EQ(handler.Menu()->GetCommandString(2, GCS_HELPTEXTA, nullptr, text, 50), S_OK);
    EXPECT_STREQ(text, "Sync to this device");
  }
  EXPECT_TRUE(WaitUntilUnloaded());
}

TEST_F(SenderLifetimeTest, AHostExitsWhileASenderWaits) {
  EXPECT_EQ(ExitCodeOfHost(L""), 42u);
}

TEST_F(SenderLifetimeTest, AHostLetsGoOfTheLibraryAndExitsWhileASenderWaits) {
  EXPECT_EQ(ExitCodeOfHost(L"free"), 42u);
}

}  // namespace
}  // namespace veskard::test
