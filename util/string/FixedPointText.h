// FixedPointText: the exact decimal digits of a floating-point number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace veskard {

/// The digits of |value| rounded to `precision` places after the point, without
/// the point: value = digits * 10^trailingZeros / 10^precision. Exact, whatever
/// the magnitude; a tie is rounded to the even digit. `value` must be finite.
/// Computed here because the C library's conversion follows the host's locale.
class FixedPointDigits {
 public:
  FixedPointDigits(double value, int32_t precision) noexcept;

  const char* First() const noexcept { return digits_.data() + first_; }
  size_t Count() const noexcept { return count_; }
  int64_t TrailingZeros() const noexcept { return trailingZeros_; }

 private:
  void RoundAway(size_t dropped) noexcept;
  void Increment() noexcept;

  // 2^-1074 times the largest mantissa has 767 digits; each limb holds nine,
  // and rounding up may add one in front.
  std::array<char, 792> digits_;
  size_t first_ = 0;
  size_t count_ = 0;
  int64_t trailingZeros_ = 0;
};

}  // namespace veskard
