// The log's time stamp.
#pragma once

#include <windows.h>

#include <string>

namespace veskard {

/// "2026-11-15 23:04:05.120": date, time and milliseconds of `time` as UTF-8 in
/// the user's default locale. Throws std::bad_alloc only.
std::string FormatTimestamp(const SYSTEMTIME& time);

}  // namespace veskard
