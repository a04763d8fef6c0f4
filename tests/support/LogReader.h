// Reading the diagnostic log.
#pragma once

#include <string>
#include <vector>

namespace veskard::test {

/// The lines of a log file without their ends; a failure unless the file is
/// UTF-16 text whose every line ends in "\r\n". No file, no lines. Zeros are left out:
/// a test makes a file long by them.
std::vector<std::wstring> ReadLogLines(const std::wstring& path);

/// The same without "TIME (PROCESS) "; a failure for a line of another layout.
std::vector<std::wstring> ReadLogMessages(const std::wstring& path);

/// Whether a line is "TIME (PROCESS:ID) message".
bool IsLogLine(const std::wstring& line);

/// The text after "TIME (PROCESS) "; a failure for a line of another layout.
std::wstring MessageOf(const std::wstring& line);

/// The log below one folder of application data, read as it grows.
class LogReader {
 public:
  /// Makes the log's own folder there, as the agent does when it is installed, so
  /// that the log can open its file.
  explicit LogReader(const std::wstring& applicationData);

  /// The messages that this process has written since the last call.
  std::vector<std::wstring> NewLines();

 private:
  std::wstring file_;
  size_t linesRead_ = 0;
};

}  // namespace veskard::test
