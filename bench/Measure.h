// Measuring: medians of repeated runs, printed as a Markdown table. Google Benchmark cannot
// print a ratio of two benchmarks of one run, nor give each round its own process.
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

/// One run of one way to do the work.
using Run = std::function<void()>;

/// Runs every contender in turns, so that a busy moment of the machine affects all of
/// them, and returns the median nanoseconds of one run each.
std::vector<double> MedianNanoseconds(const std::vector<Run>& contenders);

/// Begins a Markdown table: its title, then the first column, our time, and a column for
/// each of `others`.
void PrintHeading(const std::string& title, const std::string& first, const std::vector<std::string>& others);

/// Prints one row: what was measured, our time (the first contender's), and for each other
/// contender its time divided by ours: "2.10" means that ours is 2.1 times as fast.
void PrintRatios(const std::string& what, const std::vector<Run>& contenders);

/// Prints one row of cells that are not ratios.
void PrintCells(const std::vector<std::string>& cells);

}  // namespace veskard::bench
