// BenchFiles: many types of file, each with an icon of its own, and placeholders
// with their marks.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/ScratchFolder.h"
#include "tests/support/TestFileType.h"

namespace veskard::bench {

inline constexpr int kProgress = 45;

class BenchFiles {
 public:
  /// Lays two placeholders of each of `count` types in a selective folder.
  explicit BenchFiles(int count);

  /// A file that is not there, and the placeholders that stand for one of its type:
  /// one that is being received, and one that is not.
  std::wstring Name(int number) const;
  std::wstring Receiving(int number) const { return Name(number) + L".ghpl"; }
  std::wstring Waiting(int number) const;

 private:
  test::ScratchFolder folder_;
  std::vector<std::unique_ptr<test::TestFileType>> types_;
};

}  // namespace veskard::bench
