#include "shellext/Clock.h"

#include <windows.h>

namespace veskard {

uint64_t SecondsSince1970() noexcept {
  FILETIME now = {};
  ::GetSystemTimeAsFileTime(&now);
  const uint64_t ticks = uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  const uint64_t seconds = ticks / kTicksPerSecond;
  return seconds < kSecondsFrom1601To1970 ? 0 : seconds - kSecondsFrom1601To1970;
}

}  // namespace veskard
