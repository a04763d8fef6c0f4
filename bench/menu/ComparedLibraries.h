// The two libraries that are measured side by side.
#pragma once

#include <string>

#include "tests/support/ScratchFolder.h"

namespace veskard::bench {

/// Today's library, and the old one that scripts/old-library.sh has built: copies in two
/// folders alike, since the library looks for files beside itself, and a look into a
/// crowded folder takes longer. Ends the program with a message when one is missing.
class ComparedLibraries {
 public:
  ComparedLibraries();

  const std::wstring& New() const noexcept { return new_; }
  const std::wstring& Old() const noexcept { return old_; }

 private:
  test::ScratchFolder folder_;
  std::wstring new_;
  std::wstring old_;
};

}  // namespace veskard::bench
