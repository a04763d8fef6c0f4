#include "bench/instructions/Counted.h"

#include <valgrind/callgrind.h>

// The requests below are made of machine words, and Valgrind's macros write "long" for
// one, which is half a word on 64-bit Windows.
#if defined(_WIN64)
#define long long long
#endif

namespace veskard::bench {

void Counted(const std::string& name, const std::function<void()>& step) {
  CALLGRIND_ZERO_STATS;
  step();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

}  // namespace veskard::bench
