// A test program that ends before its tests do, with an exit code that says all is
// well, as Wine answers for some crashes: scripts/wine-run.sh must report it.
// Registered as a test that must fail.
#include <gtest/gtest.h>
#include <windows.h>

namespace veskard {
namespace {

TEST(UnfinishedTest, EndsTheProcess) {
  ::ExitProcess(0);
}

}  // namespace
}  // namespace veskard
