#include "bench/Measure.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace veskard::bench {
namespace {

constexpr size_t kRounds = 5;
constexpr size_t kRepetitionsPerRound = 9;
constexpr double kNanosecondsPerRepetition = 5e6;

using RoundTimes = std::array<double, kRepetitionsPerRound>;

// Processor time of this thread: what other programs do meanwhile does not count.
double Now() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double NanosecondsOf(const Run& run, size_t times) {
  const double begin = Now();
  for (size_t i = 0; i < times; ++i) run();
  return (Now() - begin) / static_cast<double>(times);
}

// How many runs fill one repetition; warms up on the way.
size_t CalibratedTimes(const Run& run) {
  for (size_t times = 1;; times *= 2) {
    if (NanosecondsOf(run, times) * static_cast<double>(times) > kNanosecondsPerRepetition) return times;
  }
}

[[noreturn]] void MeasureAndLeave(const Run& run, int output) {
  const size_t times = CalibratedTimes(run);
  RoundTimes repetitions;
  for (double& repetition : repetitions) repetition = NanosecondsOf(run, times);
  const bool isSent = write(output, &repetitions, sizeof(repetitions)) == sizeof(repetitions);
  _exit(isSent ? 0 : 1);
}

// One round in a process of its own: no contender finds the heap as another one
// has left it.
RoundTimes MeasureRound(const Run& run) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) MeasureAndLeave(run, ends[1]);
  close(ends[1]);
  RoundTimes times;
  const bool isReceived = child > 0 && read(ends[0], &times, sizeof(times)) == sizeof(times);
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!isReceived) std::abort();
  return times;
}

double Median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::string Rounded(double ratio) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.2f", ratio);
  return text;
}

std::string Readable(double nanoseconds) {
  char text[32];
  if (nanoseconds >= 1e6) {
    std::snprintf(text, sizeof(text), "%.2f ms", nanoseconds / 1e6);
  } else if (nanoseconds >= 1e4) {
    std::snprintf(text, sizeof(text), "%.1f µs", nanoseconds / 1e3);
  } else {
    std::snprintf(text, sizeof(text), "%.1f ns", nanoseconds);
  }
  return text;
}

}  // namespace

std::vector<double> MedianNanoseconds(const std::vector<Run>& contenders) {
  std::vector<std::vector<double>> samples(contenders.size());
  for (size_t round = 0; round < kRounds; ++round) {
    for (size_t i = 0; i < contenders.size(); ++i) {
      const RoundTimes times = MeasureRound(contenders[i]);
      samples[i].insert(samples[i].end(), times.begin(), times.end());
    }
  }
  std::vector<double> medians;
  for (std::vector<double>& values : samples) medians.push_back(Median(values));
  return medians;
}

void PrintHeading(const std::string& title, const std::string& first,
                  const std::vector<std::string>& others) {
  std::printf("\n%s\n\n", title.c_str());
  std::vector<std::string> cells = {first, "ours"};
  cells.insert(cells.end(), others.begin(), others.end());
  PrintCells(cells);
  PrintCells(std::vector<std::string>(cells.size(), "---"));
}

void PrintRatios(const std::string& what, const std::vector<Run>& contenders) {
  const std::vector<double> medians = MedianNanoseconds(contenders);
  std::vector<std::string> cells = {what, Readable(medians[0])};
  for (size_t i = 1; i < medians.size(); ++i) cells.push_back(Rounded(medians[i] / medians[0]));
  PrintCells(cells);
}

void PrintCells(const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
  std::printf("|\n");
  std::fflush(stdout);
}

}  // namespace veskard::bench
