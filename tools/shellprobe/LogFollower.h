// LogFollower: reads the diagnostic log while it grows.
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
  /// complete. A file that took the place of another is read from its start; the
  /// other one is read on, because a process that did not rotate the log goes on
  /// writing there. A deleted file is closed.
  std::vector<std::wstring> ReadNewLines();

 private:
  /// An open file, and the part of it that is not a whole line yet.
  struct Source {
    UniqueFile file;
    std::string bytes;
  };

  bool WasReplaced() const;
  static void ReadToEnd(Source& source, std::vector<std::wstring>& lines);
  static void TakeLines(std::string& bytes, std::vector<std::wstring>& lines);

  std::wstring path_;
  Source current_;
  Source previous_;  // the file that was at the path before
};

/// Whether a line comes from a process: "explorer.exe:4412", "explorer.exe" or
/// "4412" for a line tagged "(explorer.exe:4412)", in any case: the tag has the
/// letters that the process was started with.
bool IsLineOfProcess(std::wstring_view line, std::wstring_view process);

}  // namespace veskard
