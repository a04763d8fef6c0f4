#include "util/string/FormatOutput.h"

#include "core/StdAfx.h"

namespace veskard {

template <class Char>
void FormatOutput<Char>::Pad(char filler, int64_t count) {
  if (count < 0) AssertionFailed("util\\string\\strfmt", __LINE__);
  constexpr int64_t kChunk = 64;
  Char chunk[kChunk];
  std::fill_n(chunk, std::min(count, kChunk), static_cast<Char>(filler));
  for (; count > 0 && !IsFull(); count -= kChunk) Write(chunk, static_cast<size_t>(std::min(count, kChunk)));
}

template class FormatOutput<char>;
template class FormatOutput<wchar_t>;

}  // namespace veskard
