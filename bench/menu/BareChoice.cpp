#include <windows.h>
// The networks' header needs the basic types first.
#include <winnetwk.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/menu/BareCalls.h"
#include "bench/menu/BareMenu.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

using Messages = std::vector<std::string>;

std::string Utf8(const wchar_t* text) {
  char bytes[32771 * 3];
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof(bytes), nullptr, nullptr);
  return std::string(bytes, length > 0 ? static_cast<size_t>(length) - 1 : 0);
}

Messages BuildMessages(HDROP drop, uint32_t count) {
  Messages messages;
  static wchar_t name[32771];
  static char universal[65544];
  for (uint32_t i = 0; i < count; ++i) {
    ::DragQueryFileW(drop, i, name, 32771);
    DWORD size = sizeof(universal);
    const bool isUniversal =
        ::WNetGetUniversalNameW(name, UNIVERSAL_NAME_INFO_LEVEL, universal, &size) == NO_ERROR;
    const std::string path =
        Utf8(isUniversal ? reinterpret_cast<UNIVERSAL_NAME_INFOW*>(universal)->lpUniversalName : name);
    messages.push_back("d6:actioni5e" + std::string(i + 1 == count ? "4:lasti1e" : "") + "4:path" +
                       std::to_string(path.size()) + ":" + path + "e");
  }
  return messages;
}

void Offer(const Messages& messages) {
  const UniqueFile pipe(
      ::CreateFileW(L"\\\\.\\pipe\\syncsvccmd_SIT", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  DWORD mode = PIPE_READMODE_MESSAGE, written = 0;
  if (!pipe || !::SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr)) return;
  for (const std::string& message : messages) {
    ::WriteFile(pipe.Get(), message.data(), static_cast<DWORD>(message.size()), &written, nullptr);
  }
}

DWORD WINAPI Send(void* parameter) {
  const std::unique_ptr<Messages> messages(static_cast<Messages*>(parameter));
  BareLogSwitch();
  Offer(*messages);
  BareLogSwitch();
  return 0;
}

}  // namespace

void BareChoice(HDROP drop, uint32_t count) {
  BareAgentLookUp();
  auto messages = std::make_unique<Messages>(BuildMessages(drop, count));
  const UniqueHandle thread(::CreateThread(nullptr, 0, &Send, messages.release(), 0, nullptr));
}

}  // namespace veskard::bench
