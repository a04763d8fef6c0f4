#include <malloc.h>

#include <cstdio>

#include "bench/Benches.h"

int main() {
  // The allocator keeps what is freed: otherwise huge strings measure whether the
  // system took their pages away in between, which is chance.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  std::printf("Medians of 45 repetitions of processor time, contenders in turns. The first\n");
  std::printf("time is ours; \"other 2.00x\" means that the other takes twice as long.\n");
  veskard::bench::RunBencBenches();
  veskard::bench::RunFormatBenches();
}
