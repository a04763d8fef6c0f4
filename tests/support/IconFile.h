// Icon files written byte by byte, so that tests can offer the Shell any kind.
#pragma once

#include <string>
#include <vector>

#include "tests/support/TestIcons.h"

namespace veskard::test {

/// One picture of an icon file and the depth it is kept in:
///
///     32   colours and alpha; the mask says "all shown"
///     24   colours alone; the mask hides what has alpha 0
///      1   black and white; the mask likewise
struct IconFilePicture {
  Picture picture;
  int bitsPerPixel = 32;
};

/// Writes an .ico file; the test fails when that cannot be done.
void WriteIconFile(const std::wstring& path, const std::vector<IconFilePicture>& pictures);

}  // namespace veskard::test
