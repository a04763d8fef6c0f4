// SizeText: byte counts in readable units.
#pragma once

#include <cstdint>

namespace veskard {

/// Gives the name of a size unit by its number in the table of user-visible texts:
/// 0 "B", 1 "EB", 2 "GB", 3 "kB", 4 "MB", 5 "PB", 6 "TB". Never null.
using SizeUnitNames = const wchar_t* (*)(unsigned number);

/// Sets the source of the names for the whole process; null, the initial value, for the
/// English ones. Any thread.
void SetSizeUnitNames(SizeUnitNames names) noexcept;

/// The current name of a unit, 0 to 6.
const wchar_t* SizeUnitName(unsigned number);

/// A byte count in hundredths of a unit; `unit` is its number in the table of
/// user-visible texts.
struct ScaledSize {
  uint64_t hundredths;
  unsigned unit;
};

/// The smallest unit is the kilobyte: 100 bytes are 0.09 kB, which prints as "0.0 kB", and
/// 103 bytes as "0.1 kB". Each unit begins at 1024 of the one before. The exabyte is the
/// exception: it begins at 2^62 hundredths of a byte, which is 0.04 EB.
ScaledSize ScaleSize(uint64_t bytes) noexcept;

}  // namespace veskard
