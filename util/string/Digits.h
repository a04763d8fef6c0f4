// Digits: integers as text, for the formatter and for the bencode writer and dump.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veskard {

inline constexpr char kLowerDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
inline constexpr char kUpperDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// The most digits of a 64-bit number in any base, and with a sign in front.
inline constexpr size_t kMaxDigits = 64;
inline constexpr size_t kMaxSignedDigits = kMaxDigits + 1;

/// Writes the digits of `value` so that they end before `end` (no terminator)
/// and returns the first one; there is always at least one. The base is 2 to 36.
/// Base 16 without divisions saves 8 % of the instructions of "%08X"
/// (scripts/bench-instructions.sh).
template <class Char>
Char* WriteDigits(Char* end, uint64_t value, unsigned base, const char* digits) noexcept {
  if (base == 16) {
    do {
      *--end = static_cast<Char>(digits[value & 15]);
      value >>= 4;
    } while (value != 0);
    return end;
  }
  do {
    *--end = static_cast<Char>(digits[value % base]);
    value /= base;
  } while (value != 0);
  return end;
}

/// "00" to "99", one after the other.
struct DigitPairs {
  char text[200];
};
inline constexpr DigitPairs kDigitPairs = [] {
  DigitPairs pairs{};
  for (int i = 0; i < 100; ++i) {
    pairs.text[2 * i] = static_cast<char>('0' + i / 10);
    pairs.text[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

/// The same for base 10. Two digits at a time save 16 % of the instructions of "%d".
template <class Char>
Char* WriteDecimal(Char* end, uint64_t value) noexcept {
  while (value >= 100) {
    const char* pair = kDigitPairs.text + 2 * (value % 100);
    value /= 100;
    *--end = static_cast<Char>(pair[1]);
    *--end = static_cast<Char>(pair[0]);
  }
  if (value >= 10) {
    *--end = static_cast<Char>(kDigitPairs.text[2 * value + 1]);
    *--end = static_cast<Char>(kDigitPairs.text[2 * value]);
  } else {
    *--end = static_cast<Char>('0' + value);
  }
  return end;
}

/// How many decimal digits a number has.
inline size_t DecimalLength(uint64_t value) noexcept {
  size_t length = 1;
  for (; value >= 10000; value /= 10000) length += 4;
  return length + (value >= 10) + (value >= 100) + (value >= 1000);
}

/// The absolute value, also of the smallest number.
inline uint64_t Magnitude(int64_t value) noexcept {
  return value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

/// A signed decimal that ends before `end`.
template <class Char>
Char* WriteSignedDecimal(Char* end, int64_t value) noexcept {
  Char* first = WriteDecimal(end, Magnitude(value));
  if (value < 0) *--first = static_cast<Char>('-');
  return first;
}

}  // namespace veskard
