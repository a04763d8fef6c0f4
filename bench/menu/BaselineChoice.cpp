#include <windows.h>

#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineMenu.h"
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
  const BaselineDropList list(drop);
  ::GetDriveTypeW(L"C:\\");  // all items lie on this drive
  const wchar_t* name = list.First();
  for (uint32_t i = 0; i < count; ++i, name += std::wcslen(name) + 1) {
    const std::string path = Utf8(name);
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
  BaselineLogSwitch();
  Offer(*messages);
  BaselineLogSwitch();
  return 0;
}

}  // namespace

void BaselineChoice(HDROP drop, uint32_t count) {
  BaselineAgentLookUp();
  auto messages = std::make_unique<Messages>(BuildMessages(drop, count));
  const UniqueHandle thread(::CreateThread(nullptr, 0, &Send, messages.release(), 0, nullptr));
}

}  // namespace veskard::bench
