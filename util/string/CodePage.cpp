#include "util/string/CodePage.h"

#include <windows.h>

#include <cstring>
#include <limits>

namespace veskard {
namespace {

// Lengths beyond what the system's conversions take count as not convertible.
bool FitsInt(size_t length) noexcept {
  return length <= static_cast<size_t>(std::numeric_limits<int>::max());
}

size_t WideLength(unsigned codePage, const char* bytes, int length) noexcept {
  return static_cast<size_t>(MultiByteToWideChar(codePage, 0, bytes, length, nullptr, 0));
}

// The system's conversion with a code page; null when it yields nothing.
std::unique_ptr<wchar_t[]> Convert(unsigned codePage, const char* bytes, size_t length, size_t* outLength) {
  if (length == 0 || !FitsInt(length)) return nullptr;
  const size_t wideLength = WideLength(codePage, bytes, static_cast<int>(length));
  if (wideLength == 0) return nullptr;
  auto wide = std::make_unique<wchar_t[]>(wideLength + 1);
  *outLength = static_cast<size_t>(MultiByteToWideChar(codePage, 0, bytes, static_cast<int>(length),
                                                       wide.get(), static_cast<int>(wideLength)));
  return wide;
}

}  // namespace

std::unique_ptr<wchar_t[]> MultiByteToWide(unsigned codePage, const char* bytes, size_t length,
                                           size_t* outLength) {
  size_t wideLength = 0;
  std::unique_ptr<wchar_t[]> wide;
  if (bytes != nullptr) {
    if (length == kUpToTerminator) length = std::strlen(bytes);
    wide = Convert(codePage == kCodePageDefault ? CP_UTF8 : codePage, bytes, length, &wideLength);
    if (wide == nullptr) wide = Convert(CP_ACP, bytes, length, &wideLength);
    if (wide == nullptr) wide = std::make_unique<wchar_t[]>(1);
  }
  if (outLength != nullptr) *outLength = wideLength;
  return wide;
}

std::wstring WideFromUtf8(std::string_view bytes) {
  size_t length = 0;
  const std::unique_ptr<wchar_t[]> wide =
      MultiByteToWide(kCodePageDefault, bytes.data(), bytes.size(), &length);
  return wide == nullptr ? std::wstring() : std::wstring(wide.get(), length);
}

std::string Utf8FromWide(std::wstring_view text) {
  if (text.empty() || !FitsInt(text.size())) return {};
  const int units = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};
  std::string bytes(static_cast<size_t>(size), '\0');
  const int written =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), size, nullptr, nullptr);
  bytes.resize(static_cast<size_t>(written));  // 0 on failure: no text, rather than zeros
  return bytes;
}

}  // namespace veskard
