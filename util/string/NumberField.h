// Numbers in the layout that a conversion asks for.
//
//     [blanks] [sign] [0x] [zeros of the zero-pad flag] digits [blanks]
//
// Without the left-justify and zero-pad flags the padding is the blanks in front, with
// the zero-pad flag the zeros, with the left-justify flag the blanks at the end. With
// both flags it is printed twice, as zeros and as blanks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "util/string/Digits.h"
#include "util/string/FormatOutput.h"
#include "util/string/FormatSpec.h"

namespace veskard {

/// A number's significant digits, and the number of zeros after them.
template <class DigitChar>
struct DigitString {
  const DigitChar* first;
  size_t count;
  int64_t trailingZeros = 0;
};

/// The sign of a number: "-", or the sign that the flags request for a positive one;
/// 0 for none. The space flag's sign is the digit zero, deliberately.
inline char SignOf(bool negative, const FormatSpec& spec) noexcept {
  if (negative) return '-';
  if (spec.Has(kPlusFlag)) return '+';
  return spec.Has(kSpaceFlag) ? '0' : '\0';
}

template <class Char, class DigitChar>
class NumberField {
 public:
  NumberField(FormatOutput<Char>& out, const FormatSpec& spec, DigitString<DigitChar> digits) noexcept
      : out_(out), spec_(spec), digits_(digits) {}

  /// Prints the number; `sign` 0 means none.
  void Emit(char sign) {
    const int64_t padding =
        std::max<int64_t>(0, spec_.width - DigitsWidth() - (sign ? 1 : 0) - PrefixWidth());
    if (!spec_.Has(kLeftFlag | kZeroFlag)) out_.Pad(' ', padding);
    if (sign) out_.Write(static_cast<Char>(sign));
    if (PrefixWidth() > 0) out_.Write("0x", 2);
    if (spec_.Has(kZeroFlag)) out_.Pad('0', padding);
    EmitDigits();
    if (spec_.Has(kLeftFlag)) out_.Pad(' ', padding);
  }

 private:
  bool HasPoint() const noexcept { return spec_.Has(kFixedFlag) && spec_.precision >= 0; }
  int64_t Count() const noexcept { return static_cast<int64_t>(digits_.count) + digits_.trailingZeros; }
  int64_t PrefixWidth() const noexcept { return spec_.Has(kAlternateFlag) ? 2 : 0; }

  int64_t DigitsWidth() const noexcept {
    if (!HasPoint()) return std::max<int64_t>(Count(), spec_.precision);
    return std::max<int64_t>(Count(), spec_.precision + int64_t{1}) + 1;
  }

  void EmitDigits() {
    if (HasPoint()) {
      EmitAroundPoint();
      return;
    }
    out_.Pad('0', std::max<int64_t>(0, spec_.precision - Count()));
    EmitRange(0, Count());
  }

  // A point with precision digits after it and at least one in front.
  void EmitAroundPoint() {
    const int64_t whole = std::max<int64_t>(0, Count() - spec_.precision);
    if (whole == 0) out_.Write(static_cast<Char>('0'));
    EmitRange(0, whole);
    out_.Write(static_cast<Char>('.'));
    out_.Pad('0', std::max<int64_t>(0, spec_.precision - Count()));
    EmitRange(whole, Count());
  }

  void EmitRange(int64_t begin, int64_t end) {
    const int64_t significant = static_cast<int64_t>(digits_.count);
    const int64_t cut = std::clamp(significant, begin, end);
    if (cut > begin) out_.Write(digits_.first + begin, static_cast<size_t>(cut - begin));
    out_.Pad('0', end - cut);
  }

  FormatOutput<Char>& out_;
  const FormatSpec& spec_;
  DigitString<DigitChar> digits_;
};

/// Prints an integer in a base of 2 to 36; nothing in any other base. `sign` is 0 for
/// none. The shortcut for an integer without width, precision and prefix saves 37 % of
/// the instructions of "%d" (scripts/bench-instructions.sh).
template <class Char>
void EmitInteger(FormatOutput<Char>& out, const FormatSpec& spec, uint64_t magnitude, char sign,
                 unsigned base, const char* digits) {
  if (base < 2 || base > 36) return;
  Char buffer[kMaxSignedDigits];
  Char* const end = buffer + kMaxSignedDigits;
  Char* first = base == 10 ? WriteDecimal(end, magnitude) : WriteDigits(end, magnitude, base, digits);
  const bool isPlain = spec.width < 0 && spec.precision < 0 && !spec.Has(kAlternateFlag);
  if (isPlain) {
    if (sign) *--first = static_cast<Char>(sign);
    out.Write(first, static_cast<size_t>(end - first));
    return;
  }
  NumberField<Char, Char>(out, spec, {first, static_cast<size_t>(end - first)}).Emit(sign);
}

}  // namespace veskard
