#include "bench/instructions/Counted.h"

#include <valgrind/callgrind.h>

namespace veskard::bench {

void Counted(const std::string& name, const std::function<void()>& step) {
  CALLGRIND_ZERO_STATS;
  step();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

}  // namespace veskard::bench
