// LogFollower: the diagnostic log as it grows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard {

/// Reads a log file that other processes write, rotate, delete and make anew.
class LogFollower {
 public:
  explicit LogFollower(std::wstring path) : path_(std::move(path)) {}

  /// The whole lines that have come since the last call, without their ends; none
  /// while there is no file. A line that is still being written comes when it is
  /// complete. A file that took the place of another is read from its start.
  std::vector<std::wstring> ReadNewLines();

 private:
  bool Open();
  bool WasReplaced() const;
  void ReadToEnd(std::vector<std::wstring>& lines);
  void TakeLines(std::vector<std::wstring>& lines);

  std::wstring path_;
  UniqueFile file_;
  std::string bytes_;  // read, but not yet a whole line
};

/// Whether a line comes from a process: "explorer.exe:4412", "explorer.exe" or
/// "4412" for a line tagged "(explorer.exe:4412)".
bool IsLineOfProcess(std::wstring_view line, std::wstring_view process);

}  // namespace veskard
