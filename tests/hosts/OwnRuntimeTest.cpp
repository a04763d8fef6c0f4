// A host whose C++ run-time library is another one than ours.
#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"
#include "tests/support/ExtensionLibrary.h"

namespace veskard::test {
namespace {

TEST(OwnRuntimeTest, ExceptionsAndThreadsOfHostAndLibraryDoNotMeet) {
  const ChildProcess host(BuiltTestProgram(L"own_runtime\\own_runtime_host.exe"),
                          L"\"" + ExtensionLibraryPath() + L"\"");
  EXPECT_EQ(host.Wait(), 42u);
}

}  // namespace
}  // namespace veskard::test
