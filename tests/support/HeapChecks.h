// HeapChecks: a test program that has its heap checked, where VESKARD_HEAP_CHECKS asks
// for it.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/LoadObserver.h"

namespace veskard::test {

/// Has the system check each block that this program or the built library gives back,
/// before it is gone, and all heaps of the process after each test; the test in which a
/// damaged one is found fails. Wine finds damage only when it puts marks
/// behind blocks (scripts/lib.sh). One at a time, to the end of the program.
class HeapChecks final : public testing::EmptyTestEventListener {
 public:
  static bool AreWanted();

  HeapChecks();

 private:
  void OnTestEnd(const testing::TestInfo& test) override;

  LoadObserver observer_;
};

}  // namespace veskard::test
