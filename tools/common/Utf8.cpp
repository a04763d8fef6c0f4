#include "tools/common/Utf8.h"

#include <windows.h>

namespace veskard {

std::string ToUtf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

std::wstring FromUtf8(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  const int size = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<size_t>(size), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), size);
  return text;
}

bool IsUtf8(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  return bytes.empty() ||
         ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), length, nullptr, 0) != 0;
}

}  // namespace veskard
