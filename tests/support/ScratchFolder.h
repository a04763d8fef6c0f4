// ScratchFolder: an empty folder of a test's own.
#pragma once

#include <string>

namespace veskard::test {

/// Made in the temporary folder, removed with everything in it.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  /// Full path without a backslash at its end.
  const std::wstring& Path() const noexcept { return path_; }
  std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

 private:
  std::wstring path_;
};

}  // namespace veskard::test
