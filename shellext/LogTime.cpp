#include "shellext/LogTime.h"

#include <windows.h>

#include "shellext/Clock.h"
#include "util/string/Timestamp.h"

namespace veskard {

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
