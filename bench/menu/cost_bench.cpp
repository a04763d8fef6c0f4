// cost_bench.exe [RIGHT-CLICKS]: what right-clicks, commands and loading cost in today's
// library and in the old one, both in one process and in turns, with the ratios that are
// aimed at. RIGHT-CLICKS: how many while private memory is watched, 100,000 unless told
// otherwise.
#include <windows.h>

#include <cstdlib>

#include "bench/menu/CostRows.h"

int main(int count, char** words) {
  using namespace veskard::bench;
  const int rightClicks = count > 1 ? std::atoi(words[1]) : 100'000;
  CostHost host;
  const ItemKinds items(1000);
  BenchMenus(host, items);
  BenchCommands(host, items);
  BenchFirstTimes(host, items);
  BenchLog(host, items);
  BenchMemory(host, items, rightClicks);
}
