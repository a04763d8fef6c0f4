// The groups of benchmarks; each prints its own tables.
#pragma once

namespace veskard::bench {

void RunBencBenches();
void RunFormatBenches();

}  // namespace veskard::bench
