#include <malloc.h>

#include "bench/Benches.h"

int main() {
  // The allocator keeps what is freed. Otherwise huge strings would measure whether the
  // system took their pages away in between, which is chance.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  veskard::bench::RunBencBenches();
  veskard::bench::RunFormatBenches();
}
