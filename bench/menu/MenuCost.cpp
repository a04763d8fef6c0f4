// Right-clicks and commands: what they cost in one process that has been clicked in.
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

constexpr UINT_PTR kRemoveFromThisDevice = 4;

[[noreturn]] void Refuse(const std::string& what, const std::string& why) {
  std::printf("%s: %s\n", what.c_str(), why.c_str());
  std::exit(1);
}

// Rows of fewer rounds where a round takes longer.
int RoundsFor(uint32_t count) {
  if (count == 1) return 201;
  if (count <= 1000) return 41;
  return count <= 4000 ? 11 : 5;
}

std::string Items(uint32_t count) {
  return count < 1000 ? std::to_string(count) : std::to_string(count / 1000) + ",000";
}

/// The menus of one side of a row. They are the host's: made before and destroyed after
/// what is measured.
class Menus {
 public:
  explicit Menus(int count) {
    for (int i = 0; i < count; ++i) menus_.emplace_back(::CreatePopupMenu());
  }
  HMENU At(int round) const { return menus_[static_cast<size_t>(round)].Get(); }
  /// The items of the last one, as letters.
  std::string Letters() const { return test::Letters(test::ItemsOf(menus_.back().Get())); }

 private:
  std::vector<UniqueMenu> menus_;
};

struct Sides {
  Times now;
  Times old;
};

// `letters`: the items that either side must show, or the times would be worthless.
Sides BenchMenu(const CostHost& host, const std::string& what, double aim,
                const std::vector<std::wstring>& items, const std::string& letters) {
  BenchSelection selection(items);
  const int rounds = RoundsFor(selection.Count());
  const Menus menusNow(rounds), menusOld(rounds);
  const std::vector<Times> times = TakeTurns(
      {.count = rounds}, {[&](int round) { RightClick(host.New(), selection.Data(), menusNow.At(round)); },
                          [&](int round) { RightClick(host.Old(), selection.Data(), menusOld.At(round)); }});
  if (menusNow.Letters() != letters || menusOld.Letters() != letters) {
    Refuse(what, "the menus are " + menusNow.Letters() + " and " + menusOld.Letters() + ", not " + letters);
  }
  PrintRow(what, aim, times[0], times[1]);
  return {times[0], times[1]};
}

struct KindRow {
  const char* what;
  ItemKind kind;
  const char* letters;
};
constexpr KindRow kKinds[] = {
    {"local files", ItemKind::kLocalFiles, "RA"},
    {"placeholders", ItemKind::kPlaceholders, "SCa"},
    {"folders", ItemKind::kFolders, "SRA"},
    {"files and placeholders", ItemKind::kMixed, "SCRa"},
};

struct GrowthRow {
  uint32_t count;
  double aim;
};
constexpr GrowthRow kGrowth[] = {{1000, 0.8}, {4000, 0}, {16'000, 0.25}};

// Microseconds for each item after the first.
double PerItem(const Times& times, const Times& ofOne, uint32_t count) {
  return (times.median - ofOne.median) / (count - 1);
}

void PrintGrowth(const Sides& ofOne, const std::vector<Sides>& byCount) {
  constexpr double kLinear = 1.1;
  PrintTable("Microseconds for each local file after the first, of the medians",
             {"", "new", "old", "aim", ""});
  for (size_t i = 0; i < byCount.size(); ++i) {
    PrintCells({"of " + Items(kGrowth[i].count),
                Rounded(PerItem(byCount[i].now, ofOne.now, kGrowth[i].count), 2),
                Rounded(PerItem(byCount[i].old, ofOne.old, kGrowth[i].count), 2), "", ""});
  }
  const auto growth = [&](Times Sides::*side) {
    return PerItem(byCount.back().*side, ofOne.*side, kGrowth[byCount.size() - 1].count) /
           PerItem(byCount.front().*side, ofOne.*side, kGrowth[0].count);
  };
  const double now = growth(&Sides::now);
  PrintCells({"the last divided by the first", Rounded(now, 2), Rounded(growth(&Sides::old), 2),
              Rounded(kLinear, 2), Verdict(now, kLinear)});
}

/// A handler whose menu is shown, so that its commands can be chosen.
class ShownMenu {
 public:
  ShownMenu(const test::ExtensionLibrary& library, IDataObject* selection) : handler_(library) {
    handler_.Select(selection);
    handler_.Query(menu_.Get());
  }
  ~ShownMenu() { handler_.Select(nullptr); }
  ShownMenu(const ShownMenu&) = delete;
  ShownMenu& operator=(const ShownMenu&) = delete;

  void Choose() const {
    if (const HRESULT result = handler_.Invoke(kRemoveFromThisDevice); result != S_OK) {
      Refuse("a command", "result " + std::to_string(result));
    }
  }

 private:
  test::MenuHandler handler_;
  UniqueMenu menu_{::CreatePopupMenu()};
};

// The agent's mutex is there and its pipe is not: the sender's thread finds that out and
// ends during the pause, so that what is measured is the caller's part.
constexpr unsigned kPause = 3;

}  // namespace

void BenchMenus(const CostHost& host, const ItemKinds& items) {
  PrintHeading("Right-clicks", "new", "old");
  BenchMenu(host, "outside every folder, 1 item", 0.2, {items.Outside()}, "");
  const Sides ofOne = BenchMenu(host, "1 item inside", 1.0 / 3, items.Select(ItemKind::kLocalFiles, 1), "RA");
  for (const KindRow& row : kKinds) {
    if (row.kind == ItemKind::kLocalFiles) continue;  // with the growth, below
    BenchMenu(host, std::string("1,000 ") + row.what, 0.8, items.Select(row.kind, 1000), row.letters);
  }
  std::vector<Sides> byCount;
  for (const GrowthRow& row : kGrowth) {
    byCount.push_back(BenchMenu(host, Items(row.count) + " local files", row.aim,
                                items.Select(ItemKind::kLocalFiles, row.count), "RA"));
  }
  PrintGrowth(ofOne, byCount);
}

void BenchCommands(const CostHost& host, const ItemKinds& items) {
  PrintHeading("Choosing a command, the caller's thread", "new", "old");
  {
    BenchSelection selection(items.Select(ItemKind::kLocalFiles, 1000));
    const ShownMenu now(host.New(), selection.Data()), old(host.Old(), selection.Data());
    Compare(
        "1,000 local files", 0.1, {.count = 21, .pause = kPause}, [&](int) { now.Choose(); },
        [&](int) { old.Choose(); });
  }
  BenchSelection selection(items.Select(ItemKind::kLocalFiles, 16'000));
  const ShownMenu now(host.New(), selection.Data());
  PrintPart("16,000 local files, new library alone",
            TakeTurns({.count = 5, .pause = kPause}, {[&](int) { now.Choose(); }})[0]);
}

}  // namespace veskard::bench
