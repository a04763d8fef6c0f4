#include "core/StdAfx.h"

#include <cstdio>
#include <cstdlib>

namespace veskard {

void AssertionFailed(const char* unit, int line) noexcept {
  std::fprintf(stderr, "\nassert failed %s:%d (%d)\n", unit, line, kAssertionBuildCode);
  std::fflush(stderr);
  int* volatile nowhere = nullptr;
  // The crash is deliberate. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
  *static_cast<volatile int*>(nowhere) = line;  // cppcheck-suppress nullPointer
  std::abort();                                 // where the null page can be written after all
}

}  // namespace veskard
