// ChildProcess: a program that a test starts, and may end.
#pragma once

#include <windows.h>

#include <string>

#include "core/WindowsOwners.h"

namespace veskard::test {

/// The path of a program that was built beside this test ("log_host.exe").
std::wstring BuiltTestProgram(const std::wstring& name);

class ChildProcess {
 public:
  /// Starts it; the test fails when that fails. `arguments` is the rest of the
  /// command line, quoted where needed.
  ChildProcess(const std::wstring& program, const std::wstring& arguments);
  /// Ends it if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for its end and answers its exit code; kStillRunning when it takes
  /// longer.
  DWORD Wait(DWORD milliseconds = 60'000) const;
  static constexpr DWORD kStillRunning = STILL_ACTIVE;

  /// Ends it at once, without any of its own code being run.
  void Kill() const;

 private:
  UniqueHandle process_;
};

}  // namespace veskard::test
