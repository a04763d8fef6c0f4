// LoggedProgram: a program that runs without a window, and what it prints, line by line.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace veskard {

using LineLog = std::function<void(const std::wstring& line)>;

/// Runs a command line, which begins with the program's full path, and waits for its end,
/// at most `limit` milliseconds; then it is terminated. `log` gets each line that the
/// program prints, without blank ones, and at the end why it failed. Answers the
/// program's exit code, or the system's error code where it could not be started or took
/// too long (ERROR_TIMEOUT). Throws std::bad_alloc, and what `log` throws.
DWORD RunLoggedProgram(const std::wstring& commandLine, DWORD limit, const LineLog& log);

}  // namespace veskard
