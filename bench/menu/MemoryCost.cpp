// What right-clicks leave behind.
#include <string>

#include "bench/menu/BenchSelection.h"
#include "bench/menu/CostRows.h"
#include "bench/menu/MenuHost.h"
#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"
#include "tests/support/ProcessResources.h"

namespace veskard::bench {
namespace {

constexpr int kWarmUp = 100;
// Sixteen pages: of 50,000 right-clicks each may leave a byte.
constexpr ptrdiff_t kFlat = 64;

ptrdiff_t PrivateKilobytes() {
  return static_cast<ptrdiff_t>(test::PrivateBytes() / 1024);
}

std::string Kilobytes(ptrdiff_t count) {
  return std::to_string(count) + " KB";
}

void Click(const CostHost& host, IDataObject* selection, int times) {
  for (int i = 0; i < times; ++i) {
    const UniqueMenu menu(::CreatePopupMenu());
    RightClick(host.New(), selection, menu.Get());
  }
}

}  // namespace

// What is lost grows all the time, what is kept for later comes in the first half.
void BenchMemory(const CostHost& host, const ItemKinds& items, int count) {
  BenchSelection selection(items.Select(ItemKind::kMixed, 4));
  Click(host, selection.Data(), kWarmUp);
  const ptrdiff_t begin = PrivateKilobytes();
  Click(host, selection.Data(), count / 2);
  const ptrdiff_t middle = PrivateKilobytes();
  Click(host, selection.Data(), count - count / 2);
  const ptrdiff_t growth = PrivateKilobytes() - middle;
  PrintTable("Private memory of " + std::to_string(count) + " right-clicks of 4 items, new library",
             {"at first", "more after the first half", "after the second half", "aim", ""});
  PrintCells({Kilobytes(begin), Kilobytes(middle - begin), Kilobytes(growth), Kilobytes(kFlat),
              growth <= kFlat ? "met" : "missed"});
}

}  // namespace veskard::bench
