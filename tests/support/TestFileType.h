// TestFileType: a type of file with an icon of the test's own.
#pragma once

#include <string>
#include <vector>

#include "tests/support/IconFile.h"

namespace veskard::test {

/// Registers files named "*.EXTENSION" for its lifetime, with an icon file of
/// these pictures in the temporary folder. The Shell remembers the icons it has
/// loaded, so an extension is used for one icon in a process.
class TestFileType {
 public:
  TestFileType(const std::wstring& extension, const std::vector<IconFilePicture>& pictures);
  ~TestFileType();
  TestFileType(const TestFileType&) = delete;
  TestFileType& operator=(const TestFileType&) = delete;

 private:
  std::wstring extensionKey_;
  std::wstring typeKey_;
  std::wstring iconFile_;
};

}  // namespace veskard::test
