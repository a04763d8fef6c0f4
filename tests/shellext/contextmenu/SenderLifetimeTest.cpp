// A sender that an agent keeps waiting, and hosts that do not wait for it.
#include <string>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"

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

  // Runs the host beside this test; its exit code, or WAIT_TIMEOUT.
  static DWORD RunExitingHost(const wchar_t* arguments);

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
};

DWORD SenderLifetimeTest::RunExitingHost(const wchar_t* arguments) {
  std::wstring program = ReadModulePath(nullptr);
  program = program.substr(0, program.find_last_of(L'\\') + 1) + L"exiting_host.exe";
  std::wstring commandLine = L"exiting_host" + std::wstring(arguments);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started = {};
  EXPECT_TRUE(::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &started));
  const UniqueHandle process(started.hProcess);
  const UniqueHandle thread(started.hThread);
  if (::WaitForSingleObject(process.Get(), 60'000) != WAIT_OBJECT_0) {
    ::TerminateProcess(process.Get(), 1);
    return WAIT_TIMEOUT;
  }
  DWORD code = 0;
  ::GetExitCodeProcess(process.Get(), &code);
  return code;
}

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
  FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
  EXPECT_EQ(RunExitingHost(L""), 42u);
  EXPECT_TRUE(agent.WaitForClient(std::chrono::milliseconds(0))) << "there was no sender to wait for";
}

TEST_F(SenderLifetimeTest, AHostLetsGoOfTheLibraryAndExitsWhileASenderWaits) {
  FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
  EXPECT_EQ(RunExitingHost(L" free"), 42u);
  EXPECT_TRUE(agent.WaitForClient(std::chrono::milliseconds(0))) << "there was no sender to wait for";
}

}  // namespace
}  // namespace veskard::test
