// Measuring: medians of repeated runs, and the table they are printed in. Google Benchmark
// cannot print a ratio of two benchmarks of one run, nor give each round its own process.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace veskard::bench {

/// Keeps the compiler from dropping a result.
template <class T>
void Keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

/// One way to do the work: its name and one run of it.
struct Contender {
  std::string name;
  std::function<void()> run;
};

/// Runs every contender in turns, so that a busy moment of the machine hits all of
/// them, and returns the median nanoseconds of one run each.
std::vector<double> MedianNanoseconds(const std::vector<Contender>& contenders);

/// Prints one row: what was measured, our time, and for every other contender how
/// many times as long it takes ("2.10x" means that ours is 2.1 times as fast).
void PrintRatios(const std::string& what, const std::vector<Contender>& contenders);

void PrintHeading(const std::string& heading);

}  // namespace veskard::bench
