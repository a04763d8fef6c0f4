// What the log adds to a right-click.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/menu/BenchSelection.h"
#include "bench/menu/CostRows.h"
#include "bench/menu/MenuHost.h"
#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

constexpr int kRounds = 101;

struct Clicks {
  const test::ExtensionLibrary& library;
  std::vector<double> on = {};
  std::vector<double> off = {};
};

double ClickOnce(const test::ExtensionLibrary& library, IDataObject* selection) {
  const UniqueMenu menu(::CreatePopupMenu());
  const double begin = MicrosecondsNow();
  RightClick(library, selection, menu.Get());
  return MicrosecondsNow() - begin;
}

// The first click after the switch opens the log or closes it, and is not counted.
void AddClick(Clicks& clicks, bool isOn, IDataObject* selection) {
  ClickOnce(clicks.library, selection);
  (isOn ? clicks.on : clicks.off).push_back(ClickOnce(clicks.library, selection));
}

}  // namespace

void BenchLog(CostHost& host, const ItemKinds& items) {
  BenchSelection selection(items.Select(ItemKind::kLocalFiles, 1));
  Clicks now{host.New()}, old{host.Old()};
  host.NewLogLines();
  for (int i = 0; i < kRounds; ++i) {
    for (const bool isOn : {true, false}) {
      test::SetLogSwitch(isOn ? 1 : 0);
      AddClick(i % 2 == 0 ? now : old, isOn, selection.Data());
      AddClick(i % 2 == 0 ? old : now, isOn, selection.Data());
    }
  }
  const size_t lines = host.NewLogLines();
  if (lines == 0) {
    std::printf("the log did not open\n");
    std::exit(1);
  }
  const Times nowOn = TimesOf(now.on), oldOn = TimesOf(old.on);
  PrintHeading("A right-click with the log on", "new", "old");
  PrintRow("1 item inside", 0, nowOn, oldOn);
  PrintHeading("The log on and off: " + std::to_string(lines) + " lines in " + std::to_string(4 * kRounds) +
                   " right-clicks of both libraries",
               "on", "off");
  PrintRow("new library", 0, nowOn, TimesOf(now.off));
  PrintRow("old library", 0, oldOn, TimesOf(old.off));
}

}  // namespace veskard::bench
