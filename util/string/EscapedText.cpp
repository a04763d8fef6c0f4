#include "util/string/EscapedText.h"

#include <cstring>

#include "util/string/Digits.h"

namespace veskard {
namespace {

constexpr char kNamedBytes[] = "\a\b\t\n\v\f\r\"\\";
constexpr char kNames[] = "abtnvfr\"\\";

bool IsLetterOrDigit(unsigned char byte) noexcept {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

}  // namespace

size_t EscapeForReading(unsigned char byte, char* text) {
  const char* named = byte == 0 ? nullptr : std::strchr(kNamedBytes, byte);
  if (named != nullptr) {
    text[0] = '\\';
    text[1] = kNames[named - kNamedBytes];
    return 2;
  }
  if (byte >= ' ' && byte < 127) {
    text[0] = static_cast<char>(byte);
    return 1;
  }
  text[0] = '\\';
  text[1] = 'x';
  text[2] = kLowerDigits[byte >> 4];
  text[3] = kLowerDigits[byte & 15];
  return 4;
}

size_t EscapeForUrl(unsigned char byte, char* text) {
  if (IsLetterOrDigit(byte) || (byte != 0 && std::strchr("-._~", byte) != nullptr)) {
    text[0] = static_cast<char>(byte);
    return 1;
  }
  text[0] = '%';
  text[1] = kUpperDigits[byte >> 4];
  text[2] = kUpperDigits[byte & 15];
  return 3;
}

}  // namespace veskard
