#include "util/string/FormatOutput.h"

#include <algorithm>

namespace veskard {

template <class Char>
void FormatOutput<Char>::Pad(char filler, int64_t count) {
  if (count < 0) NegativePadding();
  constexpr int64_t kChunk = 64;
  Char chunk[kChunk];
  std::fill_n(chunk, std::min(count, kChunk), static_cast<Char>(filler));
  for (; count > 0 && !IsFull(); count -= kChunk) Write(chunk, static_cast<size_t>(std::min(count, kChunk)));
}

template class FormatOutput<char>;
template class FormatOutput<wchar_t>;

}  // namespace veskard
