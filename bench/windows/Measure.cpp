#include "bench/windows/Measure.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace veskard::bench {
namespace {

double MicrosecondsOf(const Run& run, int round, int repetitions) {
  const double begin = MicrosecondsNow();
  for (int i = 0; i < repetitions; ++i) run(round);
  return (MicrosecondsNow() - begin) / repetitions;
}

}  // namespace

double MicrosecondsNow() {
  LARGE_INTEGER ticks, frequency;
  ::QueryPerformanceCounter(&ticks);
  ::QueryPerformanceFrequency(&frequency);
  return static_cast<double>(ticks.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

Times TimesOf(std::vector<double> microseconds) {
  std::sort(microseconds.begin(), microseconds.end());
  return {microseconds.front(), microseconds[microseconds.size() / 2]};
}

std::vector<Times> TakeTurns(const Rounds& rounds, const std::vector<Run>& runs) {
  std::vector<std::vector<double>> all(runs.size());
  for (int round = 0; round < rounds.count; ++round) {
    for (size_t i = 0; i < runs.size(); ++i) {
      const size_t turn = (static_cast<size_t>(round) + i) % runs.size();
      all[turn].push_back(MicrosecondsOf(runs[turn], round, rounds.repetitions));
      if (rounds.pause != 0) ::Sleep(rounds.pause);
    }
  }
  std::vector<Times> times;
  for (std::vector<double>& microseconds : all) times.push_back(TimesOf(std::move(microseconds)));
  return times;
}

const char* Verdict(double value, double aim) noexcept {
  return std::lround(value * 100) <= std::lround(aim * 100) ? "met" : "missed";
}

void PrintHeading(const std::string& ours, const std::string& baseline) {
  const std::string first = ours + ", us", second = baseline + ", us";
  std::printf("%-52s %28s %28s\n", "", "fastest", "median");
  std::printf("%-52s %10s %10s %6s  %10s %10s %6s %6s\n", "", first.c_str(), second.c_str(), "ratio",
              first.c_str(), second.c_str(), "ratio", "aim");
}

void PrintRow(const std::string& what, double aim, const Times& ours, const Times& baseline) {
  const double ratio = ours.median / baseline.median;
  std::printf("%-52s %10.1f %10.1f %6.2f  %10.1f %10.1f %6.2f", what.c_str(), ours.fastest, baseline.fastest,
              ours.fastest / baseline.fastest, ours.median, baseline.median, ratio);
  if (aim > 0) std::printf(" %6.2f %s", aim, Verdict(ratio, aim));
  std::printf("\n");
  std::fflush(stdout);
}

void PrintPart(const std::string& what, const Times& times) {
  std::printf("%-52s %10.1f %28.1f\n", what.c_str(), times.fastest, times.median);
  std::fflush(stdout);
}

void Compare(const std::string& what, double aim, const Rounds& rounds, const Run& ours,
             const Run& baseline) {
  const std::vector<Times> times = TakeTurns(rounds, {ours, baseline});
  PrintRow(what, aim, times[0], times[1]);
}

}  // namespace veskard::bench
