// LogFixture: a log folder and a registry of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"

namespace veskard::test {

/// The lines of a log file without their ends; a failure unless the file is
/// UTF-16 text whose every line ends in "\r\n". No file, no lines.
std::vector<std::wstring> ReadLogLines(const std::wstring& path);

/// The same without "TIME (PROCESS) "; a failure for a line of another layout.
std::vector<std::wstring> ReadLogMessages(const std::wstring& path);

/// Whether a line is "TIME (PROCESS:ID) message".
bool IsLogLine(const std::wstring& line);

/// What stands behind "TIME (PROCESS) "; a failure for a line of another layout.
std::wstring MessageOf(const std::wstring& line);

class LogFixture : public ::testing::Test {
 protected:
  LogFixture();

  const std::wstring& ApplicationData() const noexcept { return applicationData_.Path(); }
  std::wstring Folder() const;  // made for the test; the log itself never makes it
  std::wstring File() const { return Folder() + L"\\ShellExtCM.log"; }
  std::wstring OldFile() const { return File() + L".old"; }
  std::vector<std::wstring> Lines() const { return ReadLogLines(File()); }
  std::vector<std::wstring> Messages() const { return ReadLogMessages(File()); }

  static void SetSwitch(DWORD value);
  static void RemoveSwitch();

  /// Makes the log file `size` bytes long, all zeros, without writing them.
  void MakeLongFile(uint64_t size) const;

  RegistrySandbox registry_;

 private:
  ScratchFolder applicationData_;
};

}  // namespace veskard::test
