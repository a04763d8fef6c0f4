#include "util/string/FixedPointText.h"

#include <algorithm>
#include <bit>

namespace veskard {
namespace {

constexpr uint32_t kLimbBase = 1000000000;
constexpr int kLimbDigits = 9;
constexpr int kMantissaBits = 52;
constexpr int kExponentBias = 1075;  // of the exponent that the integer mantissa has
constexpr uint64_t kMantissaMask = (uint64_t{1} << kMantissaBits) - 1;

// value = mantissa * 2^exponent, both integers.
struct BinaryParts {
  uint64_t mantissa;
  int exponent;
};

BinaryParts Split(double value) noexcept {
  const uint64_t bits = std::bit_cast<uint64_t>(value);
  const int biased = static_cast<int>(bits >> kMantissaBits & 0x7FF);
  const uint64_t fraction = bits & kMantissaMask;
  if (biased == 0) return {fraction, 1 - kExponentBias};
  return {fraction | uint64_t{1} << kMantissaBits, biased - kExponentBias};
}

// An unsigned integer of up to 86 limbs, the lowest first.
class BigNumber {
 public:
  explicit BigNumber(uint64_t value) noexcept {
    for (; value != 0; value /= kLimbBase) limbs_[count_++] = static_cast<uint32_t>(value % kLimbBase);
  }

  // Multiplies by base^times; `chunk` is the power of the base with exponent
  // `chunkTimes` that still fits 32 bits.
  void MultiplyPower(uint32_t base, int times, uint32_t chunk, int chunkTimes) noexcept {
    for (; times >= chunkTimes; times -= chunkTimes) Multiply(chunk);
    for (; times > 0; --times) Multiply(base);
  }

  // Writes all digits, the leading zeros of the highest limb too.
  size_t WriteTo(char* text) const noexcept {
    char* at = text;
    for (size_t i = count_; i-- > 0;) {
      uint32_t limb = limbs_[i];
      for (int digit = kLimbDigits - 1; digit >= 0; --digit, limb /= 10) {
        at[digit] = static_cast<char>('0' + limb % 10);
      }
      at += kLimbDigits;
    }
    return static_cast<size_t>(at - text);
  }

 private:
  void Multiply(uint32_t factor) noexcept {
    uint64_t carry = 0;
    for (size_t i = 0; i < count_; ++i) {
      carry += uint64_t{limbs_[i]} * factor;
      limbs_[i] = static_cast<uint32_t>(carry % kLimbBase);
      carry /= kLimbBase;
    }
    for (; carry != 0; carry /= kLimbBase) limbs_[count_++] = static_cast<uint32_t>(carry % kLimbBase);
  }

  std::array<uint32_t, 88> limbs_;
  size_t count_ = 0;
};

}  // namespace

FixedPointDigits::FixedPointDigits(double value, int32_t precision) noexcept {
  const BinaryParts parts = Split(value);
  BigNumber number(parts.mantissa);
  // m * 2^-k is m * 5^k with the point k digits from the right.
  const int places = std::max(0, -parts.exponent);
  if (parts.exponent > 0) {
    number.MultiplyPower(2, parts.exponent, uint32_t{1} << 29, 29);
  } else {
    number.MultiplyPower(5, places, 1220703125, 13);
  }
  digits_[0] = '0';  // for a carry out of the highest digit
  count_ = number.WriteTo(digits_.data() + 1);
  first_ = 1;
  if (places > precision) {
    RoundAway(static_cast<size_t>(places - precision));
  } else {
    trailingZeros_ = precision - places;
  }
  while (count_ > 0 && *First() == '0') {
    ++first_;
    --count_;
  }
  if (count_ == 0) trailingZeros_ = 0;
}

// Drops the last digits and rounds what stays to the nearest, ties to even.
void FixedPointDigits::RoundAway(size_t dropped) noexcept {
  if (dropped > count_) {
    count_ = 0;  // below half of the last place
    return;
  }
  const char* const begin = First();
  const char* const cut = begin + (count_ - dropped);
  const char* const end = begin + count_;
  count_ -= dropped;
  const bool restIsZero = std::all_of(cut + 1, end, [](char digit) { return digit == '0'; });
  const bool isOdd = count_ > 0 && (cut[-1] - '0') % 2 != 0;
  if (*cut > '5' || (*cut == '5' && (!restIsZero || isOdd))) Increment();
}

void FixedPointDigits::Increment() noexcept {
  size_t at = first_ + count_;
  while (at > first_ && digits_[at - 1] == '9') digits_[--at] = '0';
  if (at == first_) {
    digits_[--first_] = '1';
    ++count_;
  } else {
    ++digits_[at - 1];
  }
}

}  // namespace veskard
