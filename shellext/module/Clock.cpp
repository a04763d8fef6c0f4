#include "shellext/module/Clock.h"

#include <windows.h>

#include "util/string/Timestamp.h"

namespace veskard {

uint64_t SecondsSince1970() noexcept {
  FILETIME now = {};
  ::GetSystemTimeAsFileTime(&now);
  const uint64_t ticks = uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  const uint64_t seconds = ticks / kTicksPerSecond;
  return seconds < kSecondsFrom1601To1970 ? 0 : seconds - kSecondsFrom1601To1970;
}

std::string LogTimestamp(uint64_t secondsSince1970) {
  const uint64_t ticks = (kSecondsFrom1601To1970 + secondsSince1970) * kTicksPerSecond;
  const FILETIME universal = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  FILETIME local = {};
  SYSTEMTIME time = {};
  ::FileTimeToLocalFileTime(&universal, &local);
  ::FileTimeToSystemTime(&local, &time);
  return FormatTimestamp(time);
}

}  // namespace veskard
