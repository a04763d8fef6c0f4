// LogFixture: a log folder and a registry of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/LogReader.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"

namespace veskard::test {

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
