// LanguageTable: the texts of one language, by string number.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "lang/StringIds.h"

namespace veskard {

/// Holds kStringCount texts, each in English until a translation replaces it. Not
/// thread-safe while it changes.
class LanguageTable {
 public:
  /// Every text in English, names filled in.
  LanguageTable();

  /// The text with a number below kStringCount.
  const std::wstring& Get(size_t number) const { return entries_[number]; }
  void Set(size_t number, std::wstring text) { entries_[number] = std::move(text); }

  /// Walks two line files in step. Every built-in text that equals an English line is
  /// replaced by the line beside it, with names filled in; the first line that equals it
  /// counts. English lines that equal no text are ignored, and so are the lines by which
  /// one file is longer than the other.
  void Translate(std::wstring_view translation, std::wstring_view english);

  /// Whether a text is still the English one, names filled in.
  bool IsEnglish(size_t number) const;

 private:
  std::array<std::wstring, kStringCount> entries_;
};

/// Whether a line, already unescaped, is the built-in text with a number, names not
/// filled in: the same length, then character by character.
bool EqualsBuiltIn(std::wstring_view line, size_t number);

/// Replaces "%APPNAME%" and then "%APPSHORTNAME%" by the agent's names. Throws
/// std::bad_alloc only.
void ExpandAppNames(std::wstring& text);

}  // namespace veskard
