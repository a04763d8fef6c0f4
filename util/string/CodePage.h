// Conversions between bytes and wide text through the system's code pages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace veskard {

/// Code page 0 means UTF-8 here; any other number is the system's.
inline constexpr unsigned kCodePageDefault = 0;
inline constexpr size_t kUpToTerminator = static_cast<size_t>(-1);

/// Converts bytes to a new NUL-terminated wide string that the caller owns; null
/// for null input. `length` is in bytes, or kUpToTerminator. When the chosen
/// code page yields nothing, the system's ANSI code page is tried. `outLength`,
/// when given, receives the number of wide characters without the terminator.
std::unique_ptr<wchar_t[]> MultiByteToWide(unsigned codePage, const char* bytes, size_t length,
                                           size_t* outLength);

/// The same as strings: UTF-8 (else ANSI) to wide, and wide to UTF-8.
std::wstring WideFromUtf8(std::string_view bytes);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace veskard
