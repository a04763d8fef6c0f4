// Balance: what the process and the library hold at a moment.
#pragma once

#include <array>
#include <ostream>

#include "tests/support/Faults.h"

namespace veskard::test {

struct Balance {
  std::array<ptrdiff_t, kHeldKinds> held = {};  // by Held
  size_t handles = 0;
  size_t gdiObjects = 0;

  bool operator==(const Balance&) const = default;
};

Balance TakeBalance();

/// Asks so many times, ten milliseconds apart: a sender's thread ends a moment after
/// its work.
Balance WaitForBalance(const Balance& expected, int tries);

std::ostream& operator<<(std::ostream& out, const Balance& balance);

}  // namespace veskard::test
