// Log: the diagnostic call of all parts of the extension.
#pragma once

#include <atomic>

#include "util/string/FormatArgs.h"

namespace veskard {

/// Kept in step with the log object's own state under the log lock; read without
/// it. Written by shellext/module/DiagnosticLog.cpp only.
extern std::atomic<bool> logEnabled;

/// True while lines are written; the cheap test in front of every line.
inline bool IsLogEnabled() noexcept {
  return logEnabled.load(std::memory_order_relaxed);
}

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
