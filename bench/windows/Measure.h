// Measuring under Windows: runs that take turns, printed as a Markdown table. Google Benchmark
// cannot print a ratio of two benchmarks of one run.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace veskard::bench {

double MicrosecondsNow();

/// What is measured: one run of it, given the number of the round.
using Run = std::function<void(int round)>;

/// `repetitions` runs make one time, for what is too short to be measured alone.
/// After each time come `pause` milliseconds, for what a run has left in other threads.
struct Rounds {
  int count;
  int repetitions = 1;
  unsigned pause = 0;
};

/// Microseconds of one run. The fastest is the one that nothing interrupted; the
/// median is what one sees.
struct Times {
  double fastest = 0;
  double median = 0;
};

Times TimesOf(std::vector<double> microseconds);

/// Runs all of them in turns, so that a busy moment of the machine hits each. Another
/// one begins in every round, since one may find something that the last has left.
std::vector<Times> TakeTurns(const Rounds& rounds, const std::vector<Run>& runs);

/// "met" or "missed": whether `value` is at most `aim`, both rounded to two decimals, as
/// ratios are printed.
const char* Verdict(double value, double aim) noexcept;

/// Prints one row of a Markdown table; `PrintTable` its title, its first row and the rule.
void PrintCells(const std::vector<std::string>& cells);
void PrintTable(const std::string& title, const std::vector<std::string>& columns);

/// A number with so many decimals.
std::string Rounded(double value, int decimals);

/// Begins a table of two sides: microseconds and ratios, and the ratio that is aimed at
/// (0: none) with the verdict on the median.
void PrintHeading(const std::string& title, const std::string& ours = "ours",
                  const std::string& baseline = "baseline");
void PrintRow(const std::string& what, double aim, const Times& ours, const Times& baseline);

/// A part of the row above: the fastest and the median of the first side alone.
void PrintPart(const std::string& what, const Times& times);

/// A row that gives the difference of the row above, of the medians and in milliseconds.
void PrintDifference(const std::string& what, double milliseconds, double aim);

/// Measures two in turns and prints their row.
void Compare(const std::string& what, double aim, const Rounds& rounds, const Run& ours, const Run& baseline);

}  // namespace veskard::bench
