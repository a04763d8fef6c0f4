#include "shellext/contextmenu/AgentStarter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentChannel.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/AgentSender.h"
#include "shellext/module/Module.h"
#include "tests/support/DropData.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/SyncTree.h"

namespace veskard {
namespace {

using test::AgentKind;
using test::FakeAgentMutex;
using test::SyncTree;
using namespace std::chrono_literals;

constexpr wchar_t kInstallKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Nimbrel Veskard Agent";
constexpr wchar_t kProgramName[] = L"Nimbrel Veskard Agent.exe";
constexpr wchar_t kUserPipe[] = L"\\\\.\\pipe\\synccmd_SIT";

// What the starter asked of the system, and what the system answers.
struct FakeSystem {
  std::vector<REGSAM> views;
  bool refuseFirstView = false;

  int processesStarted = 0;
  bool refuseProcess = false;
  HANDLE process = nullptr;
  HANDLE thread = nullptr;

  std::vector<DWORD> sleeps;
  uint64_t milliseconds = 1'000'000'900;  // late in a second
  int agentAppearsAfterSleeps = -1;
  std::optional<FakeAgentMutex> agent;
};
std::unique_ptr<FakeSystem> fake;

LSTATUS WINAPI FakeOpenKey(HKEY root, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) {
  EXPECT_EQ(root, HKEY_CURRENT_USER);
  EXPECT_STREQ(path, kInstallKey);
  EXPECT_EQ(options, 0u);
  fake->views.push_back(access);
  if (fake->refuseFirstView && fake->views.size() == 1) return ERROR_FILE_NOT_FOUND;
  return ::RegOpenKeyExW(root, path, options, access, key);
}

BOOL WINAPI FakeCreateProcess(const wchar_t* program, wchar_t* commandLine, SECURITY_ATTRIBUTES* forProcess,
                              SECURITY_ATTRIBUTES* forThread, BOOL inherit, DWORD flags, void* environment,
                              const wchar_t* folder, STARTUPINFOW* startup, PROCESS_INFORMATION* started) {
  ++fake->processesStarted;
  EXPECT_TRUE(std::wstring(program).ends_with(std::wstring(L"\\") + kProgramName));
  EXPECT_EQ(commandLine, nullptr);
  EXPECT_EQ(forProcess, nullptr);
  EXPECT_EQ(forThread, nullptr);
  EXPECT_FALSE(inherit);
  EXPECT_EQ(flags, 0u);
  EXPECT_EQ(environment, nullptr);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(startup->cb, sizeof(STARTUPINFOW));
  EXPECT_EQ(startup->dwFlags, 0u);
  if (fake->refuseProcess) return FALSE;
  started->hProcess = fake->process = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  started->hThread = fake->thread = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return TRUE;
}

void WINAPI FakeSleep(DWORD milliseconds) {
  fake->sleeps.push_back(milliseconds);
  fake->milliseconds += milliseconds;
  if (static_cast<int>(fake->sleeps.size()) == fake->agentAppearsAfterSleeps)
    fake->agent.emplace(AgentKind::kUser);
}

uint64_t FakeSeconds() noexcept {
  return fake->milliseconds / 1000;
}

// Other threads close handles too: only the two that count are looked at.
std::atomic<int> closed;
const test::FunctionPatch<decltype(::CloseHandle)>* closeHandlePatch = nullptr;
BOOL WINAPI NoteClosedHandle(HANDLE handle) {
  if (handle != nullptr && (handle == fake->process || handle == fake->thread)) ++closed;
  return closeHandlePatch->CallOriginal(handle);
}

class AgentStarterTest : public testing::Test {
 protected:
  void SetUp() override { fake = std::make_unique<FakeSystem>(); }
  void TearDown() override {
    fake.reset();
    SetAgentScope(AgentScope::kUnset);
  }

  static AgentStarterSystem System() { return {&FakeOpenKey, &FakeCreateProcess, &FakeSleep, &FakeSeconds}; }

  static void WriteLocation(const std::wstring& location) {
    test::WriteRegistryText(HKEY_CURRENT_USER, kInstallKey, L"InstallLocation", location);
  }

  static void WriteLocationBytes(DWORD type, const std::wstring& characters) {
    UniqueRegKey key;
    ::RegCreateKeyExW(HKEY_CURRENT_USER, kInstallKey, 0, nullptr, 0, KEY_WRITE | KEY_WOW64_64KEY, nullptr,
                      key.Out(), nullptr);
    ::RegSetValueExW(key.Get(), L"InstallLocation", 0, type, reinterpret_cast<const BYTE*>(characters.data()),
                     static_cast<DWORD>(characters.size() * sizeof(wchar_t)));
  }

  // An installed agent whose program is an empty file: for the fake system.
  std::wstring Install() {
    tree_.MakeFile(std::wstring(L"agent\\") + kProgramName);
    const std::wstring folder = tree_.Path(L"agent");
    WriteLocation(folder);
    return folder;
  }

  test::RegistrySandbox registry_;
  SyncTree tree_;
};

// --- Where the agent is ---

TEST_F(AgentStarterTest, TheLocationIsReadFromTheUsersUninstallEntry) {
  WriteLocation(L"C:\\agent");
  EXPECT_EQ(ReadAgentLocation(System()), L"C:\\agent");
  EXPECT_EQ(fake->views, std::vector<REGSAM>{0x20119});
}

TEST_F(AgentStarterTest, The32BitViewIsTheSecondChoice) {
  WriteLocation(L"C:\\agent");
  fake->refuseFirstView = true;
  EXPECT_EQ(ReadAgentLocation(System()), L"C:\\agent");
  EXPECT_EQ(fake->views, (std::vector<REGSAM>{0x20119, 0x20219}));
}

TEST_F(AgentStarterTest, WithoutAnEntryThereIsNoLocation) {
  EXPECT_EQ(ReadAgentLocation(System()), L"");
}

TEST_F(AgentStarterTest, WithoutTheValueThereIsNoLocation) {
  test::WriteRegistryText(HKEY_CURRENT_USER, kInstallKey, L"DisplayName", L"x");
  EXPECT_EQ(ReadAgentLocation(System()), L"");
}

TEST_F(AgentStarterTest, AValueOfAnotherTypeIsNoLocation) {
  WriteLocationBytes(REG_EXPAND_SZ, std::wstring(L"C:\\agent") + L'\0');
  EXPECT_EQ(ReadAgentLocation(System()), L"");
}

TEST_F(AgentStarterTest, ALocationOf129CharactersIsReadAndALongerOneIsNot) {
  const std::wstring longest = L"C:\\" + std::wstring(126, L'x');
  WriteLocation(longest);
  EXPECT_EQ(ReadAgentLocation(System()), longest);
  WriteLocation(longest + L"x");
  EXPECT_EQ(ReadAgentLocation(System()), L"");
}

TEST_F(AgentStarterTest, ALocationStoredWithoutItsTerminatorIsReadToItsEnd) {
  WriteLocationBytes(REG_SZ, L"C:\\agent");
  EXPECT_EQ(ReadAgentLocation(System()), L"C:\\agent");
  WriteLocationBytes(REG_SZ, std::wstring(130, L'x'));
  EXPECT_EQ(ReadAgentLocation(System()), L"");
}

// --- Starting it ---

TEST_F(AgentStarterTest, WithoutALocationNothingIsStarted) {
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->processesStarted, 0);
}

TEST_F(AgentStarterTest, AnEmptyLocationStartsNothing) {
  WriteLocation(L"");
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->processesStarted, 0);
}

TEST_F(AgentStarterTest, WithoutTheProgramNothingIsStarted) {
  WriteLocation(tree_.MakeFolder(L"agent"));
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->processesStarted, 0);
}

TEST_F(AgentStarterTest, AFolderInTheProgramsPlaceIsNotStarted) {
  tree_.MakeFolder(std::wstring(L"agent\\") + kProgramName);
  WriteLocation(tree_.Path(L"agent"));
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->processesStarted, 0);
}

TEST_F(AgentStarterTest, ARefusedProcessIsNotWaitedFor) {
  Install();
  fake->refuseProcess = true;
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->processesStarted, 1);
  EXPECT_TRUE(fake->sleeps.empty());
}

std::wstring startedProgram;
BOOL WINAPI NoteProgram(const wchar_t* program, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL,
                        DWORD, void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION*) {
  startedProgram = program;
  return FALSE;
}

TEST_F(AgentStarterTest, ALocationThatEndsInASeparatorGetsASecondOne) {
  const std::wstring folder = Install();
  AgentStarterSystem system = System();
  system.createProcess = &NoteProgram;
  StartUserAgent(system);
  EXPECT_EQ(startedProgram, folder + L"\\" + kProgramName);
  WriteLocation(folder + L"\\");
  StartUserAgent(system);
  EXPECT_EQ(startedProgram, folder + L"\\\\" + kProgramName);
}

void WINAPI ExpectBothClosed(DWORD) {
  EXPECT_EQ(closed, 2);
  fake->milliseconds += 60'000;
}

TEST_F(AgentStarterTest, TheStartedProcessIsLetGoBeforeTheWaiting) {
  Install();
  AgentStarterSystem system = System();
  system.sleep = &ExpectBothClosed;
  closed = 0;
  const test::FunctionPatch patch(nullptr, "CloseHandle", &NoteClosedHandle);
  closeHandlePatch = &patch;
  StartUserAgent(system);
  EXPECT_EQ(fake->processesStarted, 1);
}

// --- Waiting for it ---

TEST_F(AgentStarterTest, ThePipeIsLookedForEveryTenthOfASecond) {
  Install();
  fake->agentAppearsAfterSleeps = 7;
  EXPECT_EQ(StartUserAgent(System()), kUserPipe);
  EXPECT_EQ(fake->sleeps, std::vector<DWORD>(7, 100));
}

TEST_F(AgentStarterTest, TheServicesPipeIsNotWhatItWaitsFor) {
  Install();
  const FakeAgentMutex service(AgentKind::kService);
  EXPECT_EQ(StartUserAgent(System()), L"");
}

// The clock counts whole seconds: begun 0.9 s into one, the thirty are over after
// 29.1 s.
TEST_F(AgentStarterTest, AfterThirtySecondsItGivesUp) {
  Install();
  EXPECT_EQ(StartUserAgent(System()), L"");
  EXPECT_EQ(fake->sleeps.size(), 291u);
}

TEST_F(AgentStarterTest, APipeThatAppearsWithTheLastLookCounts) {
  Install();
  fake->agentAppearsAfterSleeps = 291;
  EXPECT_EQ(StartUserAgent(System()), kUserPipe);
}

TEST_F(AgentStarterTest, AClockThatIsSetBackDoesNotMakeItWaitForEver) {
  Install();
  AgentStarterSystem system = System();
  system.seconds = []() noexcept { return uint64_t{1'000'000} - fake->sleeps.size(); };
  EXPECT_EQ(StartUserAgent(system), L"");
  EXPECT_EQ(fake->sleeps.size(), 400u);
}

// --- All of it, with a real program ---

std::string WaitForFile(const std::wstring& path) {
  for (int i = 0; i < 1000 && ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES; ++i) {
    std::this_thread::sleep_for(20ms);
  }
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(AgentStarterTest, TheUsersAgentIsStartedAndGetsTheCommand) {
  const std::wstring folder = tree_.MakeFolder(L"agent");
  const std::wstring tests = std::filesystem::path(ReadModulePath(nullptr)).parent_path().wstring();
  ASSERT_TRUE(
      ::CopyFileW((tests + L"\\started_agent.exe").c_str(), (folder + L"\\" + kProgramName).c_str(), TRUE))
      << ::GetLastError();
  WriteLocation(folder);

  SetAgentScope(AgentScope::kUser);
  const test::DropListForTest drop({L"C:\\a", L"C:\\b"});
  EXPECT_EQ(SendAgentCommand(drop.Get(), 2, AgentAction::kSyncToThisDevice), S_OK);
  EXPECT_EQ(WaitForFile(folder + L"\\received.txt"),
            "d6:actioni3e4:path4:C:\\ae\nd6:actioni3e4:lasti1e4:path4:C:\\be\n");
  for (int i = 0; i < 500 && ModuleLockCount() != 0; ++i) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(ModuleLockCount(), 0u);
}

TEST_F(AgentStarterTest, WithoutAnAgentToStartTheCommandIsDropped) {
  SetAgentScope(AgentScope::kUser);
  const test::DropListForTest drop({L"C:\\a"});
  EXPECT_EQ(SendAgentCommand(drop.Get(), 1, AgentAction::kSyncToThisDevice), S_OK);
  for (int i = 0; i < 500 && ModuleLockCount() != 0; ++i) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(ModuleLockCount(), 0u);
}

}  // namespace
}  // namespace veskard
