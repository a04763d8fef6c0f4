// Reading the diagnostic log of the process under test.
#pragma once

#include <string>
#include <vector>

namespace veskard::test {

/// The log below one folder of application data.
class LogReader {
 public:
  /// Makes the log's own folder there, as the agent does when it is installed, so
  /// that the log can open its file.
  explicit LogReader(const std::wstring& applicationData);

  /// The lines that this process has written since the last call, without their
  /// time stamps and process tags.
  std::vector<std::wstring> NewLines();

 private:
  std::wstring file_;
  size_t position_ = 0;  // in characters
};

}  // namespace veskard::test
