// FormatSpec: the flags, width, precision and length of one conversion.
#pragma once

#include <cstdint>
#include <limits>

#include "util/string/FormatArgs.h"

namespace veskard {

enum FormatFlag : uint8_t {
  kSpaceFlag = 1,      // " "
  kAlternateFlag = 2,  // "#"
  kPlusFlag = 4,       // "+"
  kLeftFlag = 8,       // "-"
  kZeroFlag = 16,      // "0"
  kFixedFlag = 32,     // ":"
};

struct FormatSpec {
  bool Has(unsigned flag) const noexcept { return (flags & flag) != 0; }

  unsigned flags = 0;
  int32_t width = -1;      // -1: none
  int32_t precision = -1;  // -1: none
  char length = 0;         // 0, 'l' or 'L'
};

/// The 32-bit integer in the next slot; 0 when there is none.
inline int32_t NextInt32(FormatArgs& args) noexcept {
  const FormatArg* slot = args.Next();
  if (slot == nullptr || slot->kind != FormatArg::Kind::kInteger) return 0;
  return static_cast<int32_t>(static_cast<uint32_t>(slot->word));
}

/// Reads one spec from the character after the "%", in this order:
///
///     flags, any number   " " "#" "+" "-" "0" ":"
///     width               digits, or "*" (negative: left-justified)
///     precision           "." and digits or "*" (negative: 0); a lone "." is none
///     length              one "l" or "L"
///
/// Numbers too large for 32 bits count as the largest. Returns the position of
/// the conversion character, which is the terminator when the format ends early.
template <class Char>
class FormatSpecParser {
 public:
  FormatSpecParser(const Char* position, FormatArgs& args) noexcept : position_(position), args_(args) {}

  const Char* Parse(FormatSpec& spec) noexcept {
    spec = FormatSpec();
    ParseFlags(spec);
    ParseWidth(spec);
    ParsePrecision(spec);
    if (*position_ == 'l' || *position_ == 'L') spec.length = static_cast<char>(*position_++);
    return position_;
  }

 private:
  static unsigned FlagOf(Char character) noexcept {
    switch (character) {
      case ' ':
        return kSpaceFlag;
      case '#':
        return kAlternateFlag;
      case '+':
        return kPlusFlag;
      case '-':
        return kLeftFlag;
      case '0':
        return kZeroFlag;
      case ':':
        return kFixedFlag;
      default:
        return 0;
    }
  }

  void ParseFlags(FormatSpec& spec) noexcept {
    while (const unsigned flag = FlagOf(*position_)) {
      spec.flags |= flag;
      ++position_;
    }
  }

  void ParseWidth(FormatSpec& spec) noexcept {
    if (*position_ != '*') {
      spec.width = ParseDigits();
      return;
    }
    ++position_;
    const int64_t width = NextInt32(args_);
    if (width < 0) spec.flags |= kLeftFlag;
    spec.width = Clamp(width < 0 ? -width : width);
  }

  void ParsePrecision(FormatSpec& spec) noexcept {
    if (*position_ != '.') return;
    ++position_;
    if (*position_ != '*') {
      spec.precision = ParseDigits();
      return;
    }
    ++position_;
    const int32_t precision = NextInt32(args_);
    spec.precision = precision < 0 ? 0 : precision;
  }

  // The number at the position; -1 when no digit stands there.
  int32_t ParseDigits() noexcept {
    if (!IsDigit()) return -1;
    int64_t number = 0;
    for (; IsDigit(); ++position_) number = Clamp(number * 10 + (*position_ - '0'));
    return static_cast<int32_t>(number);
  }

  bool IsDigit() const noexcept { return *position_ >= '0' && *position_ <= '9'; }

  static int32_t Clamp(int64_t number) noexcept {
    constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
    return number > kLargest ? kLargest : static_cast<int32_t>(number);
  }

  const Char* position_;
  FormatArgs& args_;
};

}  // namespace veskard
