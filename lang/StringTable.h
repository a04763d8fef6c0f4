// StringTable: the texts of one language, by string number.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "lang/LanguageTable.h"

namespace veskard {

/// Holds kStringCount texts, none of which is ever missing: a table starts in
/// English and keeps English where no translation is given. Not thread-safe
/// while it changes.
class StringTable {
 public:
  /// Every text in English, names filled in.
  StringTable();

  /// The text with a number below kStringCount.
  const std::wstring& Get(size_t number) const { return entries_[number]; }
  void Set(size_t number, std::wstring text) { entries_[number] = std::move(text); }

  /// Walks two line files in step. Every built-in text that equals an English line
  /// gets the line beside it, with names filled in; a text that stands twice in the
  /// built-in list gets it twice. A built-in text takes the first line that matches;
  /// English lines that match nothing, and the lines by which one file is longer
  /// than the other, are passed over.
  void Translate(std::wstring_view translation, std::wstring_view english);

  /// Whether a text is still the English one, names filled in.
  bool IsEnglish(size_t number) const;

 private:
  std::array<std::wstring, kStringCount> entries_;
};

/// Whether a line, already unescaped, is the built-in text with a number, names not
/// filled in: the same length, then character by character.
bool EqualsBuiltIn(std::wstring_view line, size_t number);

}  // namespace veskard
