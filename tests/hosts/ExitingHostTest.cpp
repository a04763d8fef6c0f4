// The library when its process exits.
#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"

namespace veskard::test {
namespace {

TEST(ExitingHostTest, TheHeapIsLeftAloneWhenTheProcessExits) {
  const ChildProcess host(BuiltTestProgram(L"watching_host.exe"), L"");
  EXPECT_EQ(host.Wait(), 42u);
}

}  // namespace
}  // namespace veskard::test
