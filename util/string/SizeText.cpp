#include "util/string/SizeText.h"

#include <atomic>

namespace veskard {
namespace {

struct SizeUnit {
  uint64_t limit;  // byte counts below it have this unit
  unsigned shift;  // the unit's power of two
  unsigned unit;   // its number in the table of user-visible texts
};

// clang-format off
constexpr SizeUnit kSizeUnits[] = {
    {uint64_t{1} << 20,              10, 3},  // kilo
    {uint64_t{1} << 30,              20, 4},  // mega
    {uint64_t{1} << 40,              30, 2},  // giga
    {uint64_t{1} << 50,              40, 6},  // tera
    {(uint64_t{1} << 62) / 100 + 1,  50, 5},  // peta
};
// clang-format on
constexpr unsigned kExaShift = 60;
constexpr unsigned kExaUnit = 1;

// bytes * 100 / 2^60 without losing the product's upper bits.
uint64_t ExaHundredths(uint64_t bytes) noexcept {
  const uint64_t whole = bytes >> kExaShift;
  const uint64_t rest = bytes & ((uint64_t{1} << kExaShift) - 1);
  const uint64_t scaledRest = (rest >> 4) * 100 + (((rest & 15) * 100) >> 4);
  return whole * 100 + (scaledRest >> (kExaShift - 4));
}

const wchar_t* EnglishUnitName(unsigned number) {
  static constexpr const wchar_t* kNames[] = {L"B", L"EB", L"GB", L"kB", L"MB", L"PB", L"TB"};
  return kNames[number];
}

std::atomic<SizeUnitNames> unitNames{nullptr};

}  // namespace

void SetSizeUnitNames(SizeUnitNames names) noexcept {
  unitNames.store(names, std::memory_order_relaxed);
}

const wchar_t* SizeUnitName(unsigned number) {
  const SizeUnitNames names = unitNames.load(std::memory_order_relaxed);
  return names == nullptr ? EnglishUnitName(number) : names(number);
}

ScaledSize ScaleSize(uint64_t bytes) noexcept {
  for (const SizeUnit& row : kSizeUnits) {
    if (bytes < row.limit) return {bytes * 100 >> row.shift, row.unit};
  }
  return {ExaHundredths(bytes), kExaUnit};
}

}  // namespace veskard
