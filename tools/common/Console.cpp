#include "tools/common/Console.h"

#include <windows.h>

namespace veskard {
namespace {

void WriteAll(DWORD stream, std::string_view text) noexcept {
  const HANDLE handle = ::GetStdHandle(stream);
  while (!text.empty()) {
    DWORD written = 0;
    if (!::WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) return;
    if (written == 0) return;
    text.remove_prefix(written);
  }
}

}  // namespace

void PrepareConsole() noexcept {
  ::SetConsoleOutputCP(CP_UTF8);
}

void Print(std::string_view text) noexcept {
  WriteAll(STD_OUTPUT_HANDLE, text);
}

void PrintError(std::string_view text) noexcept {
  WriteAll(STD_ERROR_HANDLE, text);
}

}  // namespace veskard
