// EscapedText: any bytes as printable ASCII.
#pragma once

#include <cstddef>

namespace veskard {

/// The most characters that one byte becomes.
inline constexpr size_t kMaxEscape = 4;

/// One byte as text, written to `text`; returns how many characters.
using ByteEscape = size_t (*)(unsigned char byte, char* text);

/// As in C: \a \b \t \n \v \f \r \" \\, other control bytes and those from 127 up
/// as \x and two lower-case digits, everything else as it is.
size_t EscapeForReading(unsigned char byte, char* text);

/// As in addresses: letters, digits and "-._~" as they are, everything else as %
/// and two upper-case digits.
size_t EscapeForUrl(unsigned char byte, char* text);

}  // namespace veskard
