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

std::string Microseconds(double value) {
  return Rounded(value, 1) + " µs";
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

void PrintCells(const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
  std::printf("|\n");
  std::fflush(stdout);
}

void PrintTable(const std::string& title, const std::vector<std::string>& columns) {
  std::printf("\n%s\n\n", title.c_str());
  PrintCells(columns);
  PrintCells(std::vector<std::string>(columns.size(), "---"));
}

std::string Rounded(double value, int decimals) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.*f", decimals, value);
  return text;
}

void PrintHeading(const std::string& title, const std::string& ours, const std::string& baseline) {
  PrintTable(title,
             {"", "fastest, " + ours, baseline, "ratio", "median, " + ours, baseline, "ratio", "aim", ""});
}

void PrintRow(const std::string& what, double aim, const Times& ours, const Times& baseline) {
  const double ratio = ours.median / baseline.median;
  PrintCells({what, Microseconds(ours.fastest), Microseconds(baseline.fastest),
              Rounded(ours.fastest / baseline.fastest, 2), Microseconds(ours.median),
              Microseconds(baseline.median), Rounded(ratio, 2), aim > 0 ? Rounded(aim, 2) : "",
              aim > 0 ? Verdict(ratio, aim) : ""});
}

void PrintPart(const std::string& what, const Times& times) {
  PrintCells({what, Microseconds(times.fastest), "", "", Microseconds(times.median), "", "", "", ""});
}

void PrintDifference(const std::string& what, double milliseconds, double aim) {
  PrintCells({what, "", "", "", Rounded(milliseconds, 2) + " ms", "", "",
              aim > 0 ? Rounded(aim, 1) + " ms" : "", aim > 0 ? Verdict(milliseconds, aim) : ""});
}

void Compare(const std::string& what, double aim, const Rounds& rounds, const Run& ours,
             const Run& baseline) {
  const std::vector<Times> times = TakeTurns(rounds, {ours, baseline});
  PrintRow(what, aim, times[0], times[1]);
}

}  // namespace veskard::bench
