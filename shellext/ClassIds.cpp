#include "shellext/ClassIds.h"

#include <array>
#include <bit>
#include <cstdint>

#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr wchar_t kTemplate[] = L"{8AF594%02X-CC05-%04X-%02X%02X-AE6472CC92B2}";
constexpr size_t kTextSize = sizeof("{00000000-0000-0000-0000-000000000000}");

/// Formats all seven at load, into arrays of its own: no heap, nothing to free.
class ClassIdTexts {
 public:
  ClassIdTexts() noexcept {
    for (unsigned index = 0; index < kClassIdCount; ++index)
      FormatBuffer(texts_[index], kTextSize, kTemplate, index, kVersionMajor, kVersionMinor, kVersionPatch);
  }
  const wchar_t* operator[](unsigned index) const noexcept { return texts_[index]; }

 private:
  wchar_t texts_[kClassIdCount][kTextSize] = {};
};

const ClassIdTexts classIdTexts;

}  // namespace

const wchar_t* ClassIdText(unsigned index) noexcept {
  return classIdTexts[index];
}

bool SameClassId(const GUID& one, const GUID& other) noexcept {
  using Halves = std::array<uint64_t, 2>;
  return std::bit_cast<Halves>(one) == std::bit_cast<Halves>(other);
}

}  // namespace veskard
