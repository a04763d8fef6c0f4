// What new processes cost: each sample is one of its own.
#include <string>
#include <vector>

#include "bench/library/FirstLoad.h"
#include "bench/library/Libraries.h"
#include "bench/menu/CostRows.h"
#include "bench/menu/FirstClick.h"
#include "bench/windows/Measure.h"

namespace veskard::bench {
namespace {

constexpr int kProcesses = 31;

struct Clicks {
  std::vector<double> both;
  std::vector<double> loading;
  std::vector<double> clicking;

  void Add(const FirstClick& click) {
    both.push_back(click.loading + click.clicking);
    loading.push_back(click.loading);
    clicking.push_back(click.clicking);
  }
};

// Loading and clicking together count: the library may leave work to the click that
// loading has done before.
void BenchFirstClick(const CostHost& host, const std::string& what, const FirstClickSetting& setting) {
  Clicks now, old;
  const auto addNew = [&] { now.Add(ClickInNewProcess(host.Files().New(), setting)); };
  const auto addOld = [&] { old.Add(ClickInNewProcess(host.Files().Old(), setting)); };
  for (int i = 0; i < kProcesses; ++i) {
    if (i % 2 == 0) addNew();
    addOld();
    if (i % 2 != 0) addNew();
  }
  PrintRow(what, 1.0, TimesOf(now.both), TimesOf(old.both));
  PrintRow("of that: loading the library", 0, TimesOf(now.loading), TimesOf(old.loading));
  PrintRow("of that: the right-click", 0, TimesOf(now.clicking), TimesOf(old.clicking));
}

double LoadingTime(const std::wstring& library) {
  const FirstLoad load = LoadInNewProcess(library, {});
  return load.library + load.unloading;
}

void PrintMore(const Times& now, const Times& old, const Times& empty) {
  constexpr double kMillisecondsMoreAtMost = 10;
  const double moreNow = (now.median - empty.median) / 1000;
  PrintDifference("new: more than an empty library", moreNow, kMillisecondsMoreAtMost);
  PrintDifference("old: more than an empty library", (old.median - empty.median) / 1000, 0);
}

void BenchLoading(const ComparedLibraries& files) {
  std::vector<double> now, old, empty;
  for (int i = 0; i < kProcesses; ++i) {
    now.push_back(LoadingTime(files.New()));
    old.push_back(LoadingTime(files.Old()));
    empty.push_back(LoadingTime(EmptyLibrary()));
  }
  const Times timesNow = TimesOf(now), timesOld = TimesOf(old), timesEmpty = TimesOf(empty);
  PrintRow("loading, with the system's libraries", 0, timesNow, timesOld);
  PrintMore(timesNow, timesOld, timesEmpty);
}

}  // namespace

void BenchFirstTimes(const CostHost& host, const ItemKinds& items) {
  const std::wstring item = items.Select(ItemKind::kLocalFiles, 1)[0];
  PrintHeading("New processes", "new", "old");
  BenchFirstClick(host, "first right-click of a process, with loading",
                  {host.Registry(), item, kSystemLibraries});
  BenchFirstClick(host, "the same, GDI+ and the network library not loaded before",
                  {host.Registry(), item, {}});
  BenchLoading(host.Files());
}

}  // namespace veskard::bench
