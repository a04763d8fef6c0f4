// The rows of cost_bench.exe, each of which measures today's library and the old one in
// turns, and prints what came of it.
#pragma once

#include "bench/menu/CostHost.h"
#include "bench/menu/ItemKinds.h"

namespace veskard::bench {

/// Whole right-clicks: outside, of one item, of a thousand of each kind, and of up to
/// 16,000, with the growth from a thousand on.
void BenchMenus(const CostHost& host, const ItemKinds& items);

/// Choosing a command, as long as the caller waits for it.
void BenchCommands(const CostHost& host, const ItemKinds& items);

/// Loading and right-clicking once in new processes, and loading alone where none of the
/// system's libraries is there.
void BenchFirstTimes(const CostHost& host, const ItemKinds& items);

/// A right-click with the log on and off.
void BenchLog(CostHost& host, const ItemKinds& items);

/// Private memory during `count` right-clicks of today's library.
void BenchMemory(const CostHost& host, const ItemKinds& items, int count);

}  // namespace veskard::bench
