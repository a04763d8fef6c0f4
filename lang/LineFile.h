// The line files of the language archive and of the translator's check file: their
// lines, and the escapes inside a line.
#pragma once

#include <string>
#include <string_view>

namespace veskard {

/// Walks the lines of a text, which must outlive it. A line ends with a run of CR and LF
/// characters, so no line is empty:
///
///     "\n\none\r\n\rtwo"  ->  "one", "two"
class LineWalker {
 public:
  explicit LineWalker(std::wstring_view text) noexcept : rest_(text) {}

  /// Sets `line` to the next line, without its end, and returns true; at the end of
  /// the text leaves it unchanged and returns false. `line` is a view into the text.
  bool Next(std::wstring_view& line) noexcept;

 private:
  std::wstring_view rest_;
};

/// Replaces the escapes of a line, from left to right:
///
///     \r  ->  carriage return      ||  ->  one NUL, which is part of the text
///     \n  ->  line feed            everything else stays, a lone | or \ too
std::wstring UnescapeLine(std::wstring_view line);

/// Writes carriage returns and line feeds as \r and \n again; nothing else.
std::wstring EscapeLineBreaks(std::wstring_view text);

}  // namespace veskard
