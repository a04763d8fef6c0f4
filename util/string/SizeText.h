// SizeText: byte counts in the unit that people read them in.
#pragma once

#include <cstdint>

namespace veskard {

/// A byte count in hundredths of a unit; `unit` is its number in the table of
/// user-visible texts.
struct ScaledSize {
  uint64_t hundredths;
  unsigned unit;
};

/// The smallest unit is the kilobyte (100 bytes are 0.1 kB); the next unit begins
/// at 1024 of the one before, except that the exabyte begins at 2^62 hundredths
/// of a byte, that is at 0.04 EB.
ScaledSize ScaleSize(uint64_t bytes) noexcept;

}  // namespace veskard
