// FormatOutput: the writing end of a formatting run; everything the run prints
// goes through it and is clamped to the sink's limit there.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/StdAfx.h"
#include "util/string/FormatSpec.h"
#include "util/string/strfmt.h"

namespace veskard {

/// The formatter's name in assertion messages.
inline constexpr char kFormatterUnit[] = "util\\string\\strfmt";

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

/// The sink of a bounded array. FormatOutput knows it and writes into the array
/// without asking: nearly all formatting ends in one.
template <class Char>
struct ArraySink : FormatSink {
  // The analyser does not see that the braces initialise the base.
  // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject)
  ArraySink(Char* target, size_t most) noexcept : FormatSink{&Copy, &Convert, 0, most}, array(target) {}

  static void Copy(FormatSink& sink, const void* characters, size_t count);
  static void Convert(FormatSink& sink, const void* characters, size_t count);

  Char* array;
};

template <class Char>
class FormatOutput {
 public:
  using OtherChar = typename OtherWidthOf<Char>::Type;

  explicit FormatOutput(FormatSink& sink) noexcept
      : sink_(sink),
        array_(sink.write == &ArraySink<Char>::Copy ? static_cast<ArraySink<Char>&>(sink).array : nullptr) {}

  bool IsFull() const noexcept { return sink_.written >= sink_.limit; }

  /// Characters written since the sink began.
  size_t Written() const noexcept { return sink_.written; }

  void Write(const Char* text, size_t count) {
    if (array_ == nullptr) {
      WriteThrough(sink_.write, text, count);
      return;
    }
    const size_t fitting = Fitting(count);
    std::copy_n(text, fitting, array_ + sink_.written);
    sink_.written += fitting;
  }
  void Write(const OtherChar* text, size_t count) { WriteThrough(sink_.writeOther, text, count); }
  void Write(Char character) { Write(&character, 1); }

  /// Repeats a filler. A negative count means that a caller miscounted.
  void Pad(char filler, int64_t count) {
    if (count < 0) AssertionFailed(kFormatterUnit, __LINE__);
    Char chunk[kPadChunk];
    std::fill_n(chunk, std::min<int64_t>(count, kPadChunk), static_cast<Char>(filler));
    for (; count > 0 && !IsFull(); count -= kPadChunk) {
      Write(chunk, static_cast<size_t>(std::min<int64_t>(count, kPadChunk)));
    }
  }

  /// A text in a field of the conversion's width: blanks before it, after it with the
  /// left-justify flag.
  template <class TextChar>
  void WriteField(const FormatSpec& spec, const TextChar* text, size_t count) {
    const int64_t padding = PaddingFor(spec, count);
    if (!spec.Has(kLeftFlag)) Pad(' ', padding);
    Write(text, count);
    if (spec.Has(kLeftFlag)) Pad(' ', padding);
  }

  /// How many characters a content of `count` lacks to the conversion's width.
  static int64_t PaddingFor(const FormatSpec& spec, size_t count) noexcept {
    const bool fits = spec.width > 0 && count < static_cast<size_t>(spec.width);
    return fits ? spec.width - static_cast<int64_t>(count) : 0;
  }

 private:
  static constexpr int64_t kPadChunk = 64;
  using Writer = void (*)(FormatSink&, const void*, size_t);

  size_t Fitting(size_t count) const noexcept { return std::min(count, sink_.limit - sink_.written); }

  void WriteThrough(Writer writer, const void* text, size_t count) {
    const size_t fitting = Fitting(count);
    if (fitting == 0) return;
    writer(sink_, text, fitting);
    sink_.written += fitting;
  }

  FormatSink& sink_;
  Char* const array_;  // of an ArraySink; null for any other
};

}  // namespace veskard
