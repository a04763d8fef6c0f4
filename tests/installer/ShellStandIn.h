// ShellStandIn: in PowerShell's place, while it lives.
#pragma once

#include <string>
#include <vector>

namespace veskard::test {

/// Puts a program of ours in PowerShell's place, which writes down how it is called. It
/// stays there until the process ends; calls and answers are each object's own.
class ShellStandIn {
 public:
  ShellStandIn();
  ~ShellStandIn();
  ShellStandIn(const ShellStandIn&) = delete;
  ShellStandIn& operator=(const ShellStandIn&) = delete;

  /// What PowerShell prints from now on, and its exit code.
  void Answer(int exitCode, const std::string& lines) const;

  /// Each call: the versions whose files were there at that time, and the command line, all
  /// with blanks between them. The calls until now are forgotten.
  std::vector<std::string> TakeCalls() const;

  /// Where PowerShell is.
  static const wchar_t* Path();
};

}  // namespace veskard::test
