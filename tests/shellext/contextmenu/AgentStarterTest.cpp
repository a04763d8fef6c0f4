#include "shellext/contextmenu/AgentStarter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentChannel.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/AgentSender.h"
#include "shellext/contextmenu/DropNames.h"
#include "shellext/module/Module.h"
#include "tests/support/DropData.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/Patched.h"
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

class AgentStarterTest : public testing::Test {
 protected:
  ~AgentStarterTest() override { SetAgentScope(AgentScope::kUnset); }

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

  test::RegistrySandbox registry_;
  SyncTree tree_;
};

/// A system in which no process starts and no time passes but in Sleep. Notes what the
/// starter asks of it.
class FakeSystemTest : public AgentStarterTest {
 protected:
  // An installed agent whose program is an empty file: for the fake system.
  std::wstring Install() {
    tree_.MakeFile(std::wstring(L"agent\\") + kProgramName);
    const std::wstring folder = tree_.Path(L"agent");
    WriteLocation(folder);
    return folder;
  }

  std::vector<REGSAM> views;
  bool refuseFirstView = false;

  std::vector<std::wstring> programs;  // that were started
  bool refuseProcess = false;
  int handlesClosed = 0;  // of the started process and its thread
  int handlesClosedAtFirstSleep = -1;

  std::vector<DWORD> sleeps;
  bool isClockSetBack = false;            // by a second in each sleep
  uint64_t milliseconds = 1'000'000'900;  // late in a second
  int agentAppearsAfterSleeps = -1;
  std::optional<FakeAgentMutex> agent;

 private:
  HANDLE process_ = nullptr;
  HANDLE thread_ = nullptr;

  const test::Patched<&::RegOpenKeyExW> openKey_{
      "RegOpenKeyExW",
      [this](auto original, HKEY root, LPCWSTR path, DWORD options, REGSAM access, HKEY* key) -> LSTATUS {
        EXPECT_EQ(root, HKEY_CURRENT_USER);
        EXPECT_STREQ(path, kInstallKey);
        EXPECT_EQ(options, 0u);
        views.push_back(access);
        if (refuseFirstView && views.size() == 1) return ERROR_FILE_NOT_FOUND;
        return original(root, path, options, access, key);
      }};
  const test::Patched<&::CreateProcessW> createProcess_{
      "CreateProcessW", [this](auto, LPCWSTR program, LPWSTR commandLine, auto forProcess, auto forThread,
                               BOOL inherit, DWORD flags, void* environment, LPCWSTR folder,
                               STARTUPINFOW* startup, PROCESS_INFORMATION* started) {
        programs.push_back(program);
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
        if (refuseProcess) return FALSE;
        started->hProcess = process_ = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        started->hThread = thread_ = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return TRUE;
      }};
  // Other threads close handles too: only the two that count are looked at.
  const test::Patched<&::CloseHandle> closeHandle_{
      "CloseHandle", [this](auto original, HANDLE handle) {
        if (handle != nullptr && (handle == process_ || handle == thread_)) ++handlesClosed;
        return original(handle);
      }};
  const test::Patched<&::Sleep> sleep_{"Sleep", [this](auto, DWORD duration) {
                                         if (sleeps.empty()) handlesClosedAtFirstSleep = handlesClosed;
                                         sleeps.push_back(duration);
                                         milliseconds += isClockSetBack ? uint64_t{0} - 1000 : duration;
                                         if (static_cast<int>(sleeps.size()) == agentAppearsAfterSleeps)
                                           agent.emplace(AgentKind::kUser);
                                       }};
  const test::Patched<&::GetSystemTimeAsFileTime> clock_{
      "GetSystemTimeAsFileTime", [this](auto, FILETIME* now) {
        constexpr uint64_t kFrom1601To1970 = 11'644'473'600'000;  // milliseconds
        const uint64_t ticks = (milliseconds + kFrom1601To1970) * 10'000;
        *now = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
      }};
};

// --- Where the agent is ---

TEST_F(FakeSystemTest, TheLocationIsReadFromTheUsersUninstallEntry) {
  WriteLocation(L"C:\\agent");
  EXPECT_EQ(ReadAgentLocation(), L"C:\\agent");
  EXPECT_EQ(views, std::vector<REGSAM>{0x20119});
}

TEST_F(FakeSystemTest, The32BitViewIsTheSecondChoice) {
  WriteLocation(L"C:\\agent");
  refuseFirstView = true;
  EXPECT_EQ(ReadAgentLocation(), L"C:\\agent");
  EXPECT_EQ(views, (std::vector<REGSAM>{0x20119, 0x20219}));
}

TEST_F(FakeSystemTest, WithoutAnEntryThereIsNoLocation) {
  EXPECT_EQ(ReadAgentLocation(), L"");
}

TEST_F(FakeSystemTest, WithoutTheValueThereIsNoLocation) {
  test::WriteRegistryText(HKEY_CURRENT_USER, kInstallKey, L"DisplayName", L"x");
  EXPECT_EQ(ReadAgentLocation(), L"");
}

TEST_F(FakeSystemTest, AValueOfAnotherTypeIsNoLocation) {
  WriteLocationBytes(REG_EXPAND_SZ, std::wstring(L"C:\\agent") + L'\0');
  EXPECT_EQ(ReadAgentLocation(), L"");
}

TEST_F(FakeSystemTest, ALocationOf129CharactersIsReadAndALongerOneIsNot) {
  const std::wstring longest = L"C:\\" + std::wstring(126, L'x');
  WriteLocation(longest);
  EXPECT_EQ(ReadAgentLocation(), longest);
  WriteLocation(longest + L"x");
  EXPECT_EQ(ReadAgentLocation(), L"");
}

TEST_F(FakeSystemTest, ALocationStoredWithoutItsTerminatorIsReadToItsEnd) {
  WriteLocationBytes(REG_SZ, L"C:\\agent");
  EXPECT_EQ(ReadAgentLocation(), L"C:\\agent");
  WriteLocationBytes(REG_SZ, std::wstring(130, L'x'));
  EXPECT_EQ(ReadAgentLocation(), L"");
}

// --- Starting it ---

TEST_F(FakeSystemTest, WithoutALocationNothingIsStarted) {
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_TRUE(programs.empty());
}

TEST_F(FakeSystemTest, AnEmptyLocationStartsNothing) {
  WriteLocation(L"");
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_TRUE(programs.empty());
}

TEST_F(FakeSystemTest, WithoutTheProgramNothingIsStarted) {
  WriteLocation(tree_.MakeFolder(L"agent"));
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_TRUE(programs.empty());
}

TEST_F(FakeSystemTest, AFolderInTheProgramsPlaceIsNotStarted) {
  tree_.MakeFolder(std::wstring(L"agent\\") + kProgramName);
  WriteLocation(tree_.Path(L"agent"));
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_TRUE(programs.empty());
}

TEST_F(FakeSystemTest, ARefusedProcessIsNotWaitedFor) {
  Install();
  refuseProcess = true;
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_EQ(programs.size(), 1u);
  EXPECT_TRUE(sleeps.empty());
}

TEST_F(FakeSystemTest, ALocationThatEndsInASeparatorGetsASecondOne) {
  const std::wstring folder = Install();
  refuseProcess = true;
  StartUserAgent();
  WriteLocation(folder + L"\\");
  StartUserAgent();
  EXPECT_EQ(programs,
            (std::vector<std::wstring>{folder + L"\\" + kProgramName, folder + L"\\\\" + kProgramName}));
}

TEST_F(FakeSystemTest, TheStartedProcessIsLetGoBeforeTheWaiting) {
  Install();
  StartUserAgent();
  EXPECT_EQ(programs.size(), 1u);
  EXPECT_EQ(handlesClosedAtFirstSleep, 2);
}

// --- Waiting for it ---

TEST_F(FakeSystemTest, ThePipeIsLookedForEveryTenthOfASecond) {
  Install();
  agentAppearsAfterSleeps = 7;
  EXPECT_EQ(StartUserAgent(), kUserPipe);
  EXPECT_EQ(sleeps, std::vector<DWORD>(7, 100));
}

TEST_F(FakeSystemTest, TheServicesPipeIsNotWhatItWaitsFor) {
  Install();
  const FakeAgentMutex service(AgentKind::kService);
  EXPECT_EQ(StartUserAgent(), L"");
}

// The clock counts whole seconds: begun 0.9 s into one, the thirty are over after
// 29.1 s.
TEST_F(FakeSystemTest, AfterThirtySecondsItGivesUp) {
  Install();
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_EQ(sleeps.size(), 291u);
}

TEST_F(FakeSystemTest, APipeThatAppearsWithTheLastLookCounts) {
  Install();
  agentAppearsAfterSleeps = 291;
  EXPECT_EQ(StartUserAgent(), kUserPipe);
}

TEST_F(FakeSystemTest, AClockThatIsSetBackDoesNotMakeItWaitForEver) {
  Install();
  isClockSetBack = true;
  EXPECT_EQ(StartUserAgent(), L"");
  EXPECT_EQ(sleeps.size(), 400u);
}

// --- All of it, with a real program ---

/// The program that renames the file may still have it open.
std::string WaitForFile(const std::wstring& path) {
  std::ifstream file;
  for (int i = 0; i < 1000 && !file.is_open(); ++i) {
    std::this_thread::sleep_for(20ms);
    file.open(std::filesystem::path(path), std::ios::binary);
  }
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
  EXPECT_EQ(SendAgentCommand(DropNames(drop.Get(), kLongestNameInCommand), 2, AgentAction::kSyncToThisDevice),
            S_OK);
  EXPECT_EQ(WaitForFile(folder + L"\\received.txt"),
            "d6:actioni3e4:path4:C:\\ae\nd6:actioni3e4:lasti1e4:path4:C:\\be\n");
  for (int i = 0; i < 500 && ModuleLockCount() != 0; ++i) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(ModuleLockCount(), 0u);
}

TEST_F(AgentStarterTest, WithoutAnAgentToStartTheCommandIsDropped) {
  SetAgentScope(AgentScope::kUser);
  const test::DropListForTest drop({L"C:\\a"});
  EXPECT_EQ(SendAgentCommand(DropNames(drop.Get(), kLongestNameInCommand), 1, AgentAction::kSyncToThisDevice),
            S_OK);
  for (int i = 0; i < 500 && ModuleLockCount() != 0; ++i) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(ModuleLockCount(), 0u);
}

}  // namespace
}  // namespace veskard
