// Log: the one diagnostic call that every part of the extension may use.
#pragma once

#include "util/string/FormatArgs.h"

namespace veskard {

/// True while lines are written; the cheap test in front of every line.
bool IsLogEnabled() noexcept;

/// Re-reads the registry switch and opens or closes the log to match; returns
/// whether it is on now. Never throws.
bool RefreshLogState() noexcept;

/// Writes one line of already packed arguments; called through Log.
void WriteLogLine(const wchar_t* format, FormatArgs args) noexcept;

/// Writes one line to the diagnostic log; does nothing while the log is absent
/// or off. May be called from any thread; swallows every failure. The format is
/// that of util/string/strfmt.h.
template <class... Args>
void Log(const wchar_t* format, const Args&... args) noexcept {
  if (IsLogEnabled()) WriteLogLine(format, FormatArgPack<sizeof...(Args)>(args...));
}

}  // namespace veskard
