// HeapChecks: checks a test program's heap when VESKARD_HEAP_CHECKS is set.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/LoadObserver.h"

namespace veskard::test {

/// Lets the system check each block before this program or the built library frees it, and
/// all heaps of the process after each test. A test in which a damaged one is found fails. Wine finds damage
/// only when it puts marks behind blocks (scripts/lib.sh). One at a time, to the end of the program.
class HeapChecks final : public testing::EmptyTestEventListener {
 public:
  static bool AreWanted();

  HeapChecks();

 private:
  void OnTestEnd(const testing::TestInfo& test) override;

  LoadObserver observer_;
};

}  // namespace veskard::test
