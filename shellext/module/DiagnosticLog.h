// DiagnosticLog: the one log file per user, and the module-wide log object.
// Writing a line is shellext/module/Log.h; docs/log.md describes the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/CriticalSection.h"
#include "fs/util/SyncHandle.h"
#include "util/string/FormatArgs.h"

namespace veskard {

/// A log file larger than this after a write is rotated.
inline constexpr uint64_t kLogRotationThreshold = 100 * 1024 * 1024;

/// Where the log file lies: in the user's application-data folder, in a folder that
/// is the agent's and never created here. Empty when the system does not return it.
/// Throws std::bad_alloc only.
std::wstring DiagnosticLogPath();

/// Reads the registry value that switches the log: the REG_DWORD "ShellExtLog" of
/// "Software\Nimbrel\Sync" in the 64-bit view of HKEY_LOCAL_MACHINE. 0 is off, anything
/// else on. On by default, that is when the key or the value is missing or the value
/// has another type.
bool ReadLogSwitch() noexcept;

/// The log; every call is made under LogLock(). No failure is reported: the log then
/// stays, or becomes, closed.
///
///     closed  --switch on, file opens-->  open      open  --too large-->  open
///     open    --switch off, detach---->   closed    (rotated), or closed when
///                                         the new file does not open
///     open    --file found deleted---->   silent: enabled without a file, until
///                                         the switch goes off and on again
class DiagnosticLog {
 public:
  /// Determines its names; opens nothing yet. Throws std::bad_alloc only.
  DiagnosticLog();
  DiagnosticLog(const DiagnosticLog&) = delete;
  DiagnosticLog& operator=(const DiagnosticLog&) = delete;

  /// Opens or closes the log when `on` differs from what it is; returns whether
  /// it is enabled now.
  bool Switch(bool on) noexcept;

  /// Writes "TIME (PROCESS) MESSAGE", then rotates a file that grew too large.
  void WriteLine(const wchar_t* format, FormatArgs args) noexcept;

  /// Writes the end line and closes the file.
  void Close() noexcept;

 private:
  bool Open() noexcept;
  /// Returns the bytes written: fewer than the line has on a full disk.
  uint32_t Append(const wchar_t* format, FormatArgs args);
  void Rotate();
  bool IsUnderItsName();
  void SetEnabled(bool enabled) noexcept;

  std::wstring path_;  // empty when the user has no application-data folder
  std::wstring processTag_;
  bool enabled_ = false;
  bool rotating_ = false;  // true inside Rotate, which writes lines itself
  bool closing_ = false;   // true inside Close, likewise
  bool renamed_ = false;   // true once another process has rotated the open file
  std::shared_ptr<SyncHandle> file_;
};

/// Guards the log object and everything it does. May be taken inside the
/// icon-cache lock, never in the reverse order.
CriticalSection& LogLock() noexcept;

/// Creates the log object unless there is one, and opens it when the switch is
/// on. When out of memory there is none.
void CreateLog() noexcept;

/// How the library leaves the process.
enum class Detach {
  kUnload,       // only the library: the other threads go on
  kProcessExit,  // the process ends: the other threads have ended at any point
};

/// Writes the end line, closes the file and frees the log object, if there is
/// one. At process exit the object is not freed. A log that an ended thread was using is
/// left alone: its state may be inconsistent, and its lock is never released. Memory is
/// then allocated for an end line only.
void CloseLogAtDetach(Detach detach) noexcept;

}  // namespace veskard
