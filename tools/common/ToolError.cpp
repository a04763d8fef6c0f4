#include "tools/common/ToolError.h"

#include <cstdio>

#include "core/WindowsOwners.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

std::wstring SystemText(DWORD error) {
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  wchar_t* text = nullptr;
  // With ALLOCATE_BUFFER the function takes the address of a pointer in the buffer's place.
  const DWORD length =
      ::FormatMessageW(kFlags, nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  const UniqueLocalMemory owner(text);
  return std::wstring(text != nullptr ? text : L"", length);
}

}  // namespace

ToolError SystemError(const std::string& what, DWORD error) {
  std::wstring text = SystemText(error);
  while (!text.empty() && (text.back() <= L' ' || text.back() == L'.')) text.pop_back();
  if (text.empty()) text = L"unknown error";
  return ToolError(ExitCode::kFailed, what + ": " + ToUtf8(text) + " (" + std::to_string(error) + ")");
}

std::string HexCode(HRESULT result) {
  char text[16] = {};
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
  return text;
}

}  // namespace veskard
