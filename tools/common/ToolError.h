// ToolError: ends a tool's command with a message and an exit code.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace veskard {

/// Exit codes that every tool shares; a program's own codes start at 10 and are
/// listed in its --help.
enum class ExitCode : int {
  kDone = 0,
  kFailed = 1,      // the system refused something; the message says what
  kWrongUsage = 2,  // the command line cannot be understood
  kTimeLimit = 3,   // the time limit passed
};

/// Ends a command: one line for standard error, and the exit code. The message
/// is UTF-8, without a line end.
class ToolError : public std::runtime_error {
 public:
  ToolError(int exitCode, const std::string& message) : std::runtime_error(message), exitCode_(exitCode) {}
  ToolError(ExitCode exitCode, const std::string& message) : ToolError(static_cast<int>(exitCode), message) {}
  int Code() const noexcept { return exitCode_; }

 private:
  int exitCode_;
};

/// kFailed with "WHAT: the system's text for ERROR (code)".
ToolError SystemError(const std::string& what, DWORD error);
inline ToolError LastSystemError(const std::string& what) {
  return SystemError(what, ::GetLastError());
}

/// "0x80004001".
std::string HexCode(HRESULT result);

}  // namespace veskard
