// Where every test program begins and ends.
#include <gmock/gmock.h>

#include <cstdio>

#if defined(_WIN32)
#include "tests/support/HeapChecks.h"

static void Prepare() {
  // GoogleTest destroys its listeners, and this process ends before.
  if (veskard::test::HeapChecks::AreWanted())
    testing::UnitTest::GetInstance()->listeners().Append(new veskard::test::HeapChecks);
}
#else
static void Prepare() {}
#endif

#if defined(_WIN32) && !defined(VESKARD_COVERAGE)
#include <windows.h>

// At once: Wine keeps the heap locked for ever when the exit ends another thread inside
// it (the system's own threads are enough), and a program whose tests have passed would
// hang. How the library bears the exit of its host is tested with hosts of its own.
static int End(int result) {
  std::fflush(nullptr);
  ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(result));
  return result;
}
#else
// The sanitizers and the counts of reached lines have their say when a program exits.
static int End(int result) {
  return result;
}
#endif

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  Prepare();
  return End(RUN_ALL_TESTS());
}
