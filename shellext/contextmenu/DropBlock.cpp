#include "shellext/contextmenu/DropBlock.h"

#include <windows.h>
// DROPFILES needs the rest of the shell's types.
#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace veskard {
namespace {

static_assert(sizeof(DROPFILES) == 20);

// No code page spends more bytes on a unit of UTF-16.
constexpr size_t kMostBytesOfUnit = 4;

template <class Number>
Number NumberAt(std::string_view bytes, size_t at) noexcept {
  Number number;
  std::memcpy(&number, bytes.data() + at, sizeof(number));
  return number;
}

// Whether a unit of the word is zero: only then subtracting 1 from each sets a highest
// bit that was not set.
template <class Unit>
bool HasZero(uint64_t word) noexcept {
  constexpr uint64_t kOnes = ~uint64_t{0} / std::numeric_limits<Unit>::max();
  return ((word - kOnes) & ~word & (kOnes << (8 * sizeof(Unit) - 1))) != 0;
}

// Word by word, then unit by unit.
template <class Unit>
size_t EndOfName(std::string_view names, size_t at) noexcept {
  while (at + sizeof(uint64_t) <= names.size() && !HasZero<Unit>(NumberAt<uint64_t>(names, at)))
    at += sizeof(uint64_t);
  while (at + sizeof(Unit) <= names.size() && NumberAt<Unit>(names, at) != 0) at += sizeof(Unit);
  return at;
}

template <class Unit>
std::vector<size_t> FindNames(std::string_view names) {
  std::vector<size_t> begins = {0};
  for (;;) {
    const size_t begin = begins.back();
    const size_t end = EndOfName<Unit>(names, begin);
    if (end == begin) return begins;
    begins.push_back(end + sizeof(Unit));
  }
}

std::wstring WideName(std::string_view bytes, size_t longest) {
  std::wstring name(std::min(bytes.size() / sizeof(wchar_t), longest), L'\0');
  std::memcpy(name.data(), bytes.data(), name.size() * sizeof(wchar_t));
  return name;
}

std::wstring NarrowName(std::string_view bytes, size_t longest) {
  bytes = bytes.substr(0, longest * kMostBytesOfUnit);
  std::wstring name(bytes.size(), L'\0');
  const int size = static_cast<int>(bytes.size());
  const int units = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, name.data(), size);
  name.resize(std::min(static_cast<size_t>(units), longest));
  return name;
}

}  // namespace

DropBlock::DropBlock(std::string_view bytes) {
  DROPFILES header;
  if (bytes.size() < sizeof(header)) return;
  std::memcpy(&header, bytes.data(), sizeof(header));
  if (header.pFiles > bytes.size()) return;
  names_ = bytes.substr(header.pFiles);
  isWide_ = header.fWide != FALSE;
  begins_ = isWide_ ? FindNames<uint16_t>(names_) : FindNames<unsigned char>(names_);
}

uint32_t DropBlock::Count() const noexcept {
  return begins_.empty() ? 0 : static_cast<uint32_t>(begins_.size() - 1);
}

std::wstring DropBlock::At(uint32_t index, size_t longest) const {
  if (index >= Count()) return {};
  const size_t terminator = isWide_ ? sizeof(wchar_t) : sizeof(char);
  const std::string_view bytes =
      names_.substr(begins_[index], begins_[index + 1] - terminator - begins_[index]);
  return isWide_ ? WideName(bytes, longest) : NarrowName(bytes, longest);
}

}  // namespace veskard
