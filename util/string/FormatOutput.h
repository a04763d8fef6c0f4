// FormatOutput: writes what a formatting run prints to the run's sink, cut to the
// sink's limit.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "util/string/FormatSink.h"
#include "util/string/FormatSpec.h"

namespace veskard {

/// The formatter's assertion, in the unit that its message names.
[[noreturn]] void NegativePadding() noexcept;

template <class Char>
struct OtherWidthOf;
template <>
struct OtherWidthOf<char> {
  using Type = wchar_t;
};
template <>
struct OtherWidthOf<wchar_t> {
  using Type = char;
};

template <class Char>
class FormatOutput {
 public:
  using OtherChar = typename OtherWidthOf<Char>::Type;

  explicit FormatOutput(FormatSink& sink) noexcept : sink_(sink) {}

  bool IsFull() const noexcept { return sink_.written >= sink_.limit; }

  /// Characters written since the sink began.
  size_t Written() const noexcept { return sink_.written; }

  void Write(const Char* text, size_t count) { WriteThrough(sink_.write, text, count); }
  void Write(const OtherChar* text, size_t count) { WriteThrough(sink_.writeOther, text, count); }
  void Write(Char character) { Write(&character, 1); }

  /// Repeats a filler. A negative count is an assertion failure.
  void Pad(char filler, int64_t count);

  /// A text, padded with blanks to the conversion's width: before it, or after it with
  /// the left-justify flag.
  template <class TextChar>
  void WriteField(const FormatSpec& spec, const TextChar* text, size_t count) {
    const int64_t padding = PaddingFor(spec, count);
    if (!spec.Has(kLeftFlag)) Pad(' ', padding);
    Write(text, count);
    if (spec.Has(kLeftFlag)) Pad(' ', padding);
  }

  /// How much padding `count` characters need to fill the conversion's width.
  static int64_t PaddingFor(const FormatSpec& spec, size_t count) noexcept {
    const bool fits = spec.width > 0 && count < static_cast<size_t>(spec.width);
    return fits ? spec.width - static_cast<int64_t>(count) : 0;
  }

 private:
  using Writer = void (*)(FormatSink&, const void*, size_t);

  void WriteThrough(Writer writer, const void* text, size_t count) {
    const size_t fitting = std::min(count, sink_.limit - sink_.written);
    if (fitting == 0) return;
    writer(sink_, text, fitting);
    sink_.written += fitting;
  }

  FormatSink& sink_;
};

extern template class FormatOutput<char>;
extern template class FormatOutput<wchar_t>;

}  // namespace veskard
