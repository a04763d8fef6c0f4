#include "shellext/contextmenu/AgentStarter.h"

#include <windows.h>

#include <cwchar>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/Files.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/module/Clock.h"

namespace veskard {
namespace {

constexpr wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
constexpr REGSAM kRegistryViews[] = {KEY_READ | KEY_WOW64_64KEY, KEY_READ | KEY_WOW64_32KEY};
constexpr DWORD kLocationSize = 130;  // characters, with the terminator: 260 bytes
constexpr DWORD kPollMilliseconds = 100;
constexpr int64_t kPatienceSeconds = 30;
// More polls than thirty seconds have room for: the end of the waiting when the
// system's clock is set back meanwhile.
constexpr int kMostPolls = 400;

UniqueRegKey OpenInstallKey() {
  const std::wstring path = std::wstring(kUninstallKey) + kAgentName;
  UniqueRegKey key;
  for (const REGSAM view : kRegistryViews) {
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, view, key.Out()) == ERROR_SUCCESS) return key;
    static_cast<void>(key.Release());  // whatever a failed call left there is no key
  }
  return key;
}

// Starts the program without waiting for its end.
bool StartProgram(const std::wstring& program) noexcept {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started = {};
  if (!::CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &started)) {
    return false;
  }
  const UniqueHandle process(started.hProcess);
  const UniqueHandle thread(started.hThread);
  return true;
}

std::wstring WaitForUserPipe() {
  const uint64_t start = SecondsSince1970();
  for (int poll = 0; poll < kMostPolls; ++poll) {
    ::Sleep(kPollMilliseconds);
    std::wstring pipeName = GetAgentPipeName(AgentScope::kUser);
    // Negative when the clock is set back meanwhile.
    const auto waited = static_cast<int64_t>(SecondsSince1970() - start);
    if (!pipeName.empty() || waited >= kPatienceSeconds) return pipeName;
  }
  return {};
}

}  // namespace

std::wstring ReadAgentLocation() {
  const UniqueRegKey key = OpenInstallKey();
  if (!key) return {};
  wchar_t text[kLocationSize] = {};
  DWORD type = REG_NONE;
  DWORD size = sizeof(text);
  if (::RegQueryValueExW(key.Get(), L"InstallLocation", nullptr, &type, reinterpret_cast<BYTE*>(text),
                         &size) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return {};
  }
  // The registry does not promise a terminator; a text that leaves no room for
  // one is too long.
  const size_t length = ::wcsnlen(text, kLocationSize);
  return length < kLocationSize ? std::wstring(text, length) : std::wstring();
}

std::wstring StartUserAgent() {
  const std::wstring location = ReadAgentLocation();
  // Without a folder the name would mean a program at the root of whatever drive
  // the host stands on: not the agent.
  if (location.empty()) return {};
  // The separator is always added, also after a folder that ends with one.
  const std::wstring program = location + L"\\" + kAgentName + L".exe";
  if (!FileExists(program.c_str()) || !StartProgram(program)) return {};
  return WaitForUserPipe();
}

}  // namespace veskard
