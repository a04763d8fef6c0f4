// menu_bench.exe: what a right-click and a choice cost in the built library, as ratios
// to the plain calls that their rules ask for.
#include <windows.h>

#include <string>
#include <vector>

#include "bench/menu/BaselineMenu.h"
#include "bench/menu/BenchSelection.h"
#include "bench/menu/MenuHost.h"
#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

constexpr double kAim = 1.25;
constexpr uint32_t kCounts[] = {1, 10, 100, 1000};

std::string Items(uint32_t count) {
  return std::to_string(count) + (count == 1 ? " item" : " items");
}

// Rows of fewer rounds where a round takes longer.
int RoundsFor(uint32_t count) {
  return count < 1000 ? 201 : 41;
}

struct Sides {
  Times ours;
  Times baseline;
};

Sides BenchRightClick(const MenuHost& host, const std::string& what, const std::vector<std::wstring>& items) {
  BenchSelection selection(items);
  const int rounds = RoundsFor(selection.Count());
  // The menus are the host's: they are made before and destroyed afterwards.
  std::vector<UniqueMenu> menus;
  for (int i = 0; i < 2 * rounds; ++i) menus.emplace_back(::CreatePopupMenu());
  const auto menuOf = [&menus](int round, int side) {
    return menus[static_cast<size_t>(2 * round + side)].Get();
  };
  const std::vector<Times> times =
      TakeTurns({.count = rounds},
                {[&](int round) { RightClick(host.Extension(), selection.Data(), menuOf(round, 0)); },
                 [&](int round) { BaselineRightClick(selection.Data(), menuOf(round, 1)); }});
  PrintRow(what, kAim, times[0], times[1]);
  return {times[0], times[1]};
}

void PrintGrowth(const std::vector<Sides>& byCount) {
  PrintTable("Microseconds for each item more, of the fastest", {"", "ours", "baseline"});
  for (size_t i = 1; i < byCount.size(); ++i) {
    const double more = kCounts[i] - kCounts[i - 1];
    PrintCells({"from " + std::to_string(kCounts[i - 1]) + " to " + Items(kCounts[i]),
                Rounded((byCount[i].ours.fastest - byCount[i - 1].ours.fastest) / more, 1),
                Rounded((byCount[i].baseline.fastest - byCount[i - 1].baseline.fastest) / more, 1)});
  }
}

// The agent's mutex is there and its pipe is not: either side's thread finds that out
// and ends, so that what is measured is the caller's part.
void BenchChoice(const MenuHost& host, const std::vector<std::wstring>& items) {
  BenchSelection selection(items);
  const test::MenuHandler handler(host.Extension());
  handler.Select(selection.Data());
  const UniqueMenu menu(::CreatePopupMenu());
  handler.Query(menu.Get());
  constexpr UINT_PTR kRemoveFromThisDevice = 4;
  Compare(
      Items(selection.Count()), 0, {.count = RoundsFor(selection.Count()), .pause = 3},
      [&](int) { handler.Invoke(kRemoveFromThisDevice); },
      [&](int) { BaselineChoice(selection.Drop(), selection.Count()); });
  handler.Select(nullptr);
}

void BenchMenu() {
  const MenuHost host;
  const BenchFolder folder(1000);
  PrintHeading("Right-clicks");
  BenchRightClick(host, "outside every folder, 1 item", {folder.Outside()});
  std::vector<Sides> byCount;
  for (const uint32_t count : kCounts) {
    byCount.push_back(BenchRightClick(host, Items(count), folder.First(count)));
  }
  PrintGrowth(byCount);
  PrintHeading("Choosing a command");
  for (const uint32_t count : kCounts) BenchChoice(host, folder.First(count));
}

}  // namespace
}  // namespace veskard::bench

int main() {
  veskard::bench::BenchMenu();
}
