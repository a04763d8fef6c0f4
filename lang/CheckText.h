// The text of a translator's check file: its changes to the table, and the report on it.
#pragma once

#include <bitset>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lang/LanguageTable.h"

namespace veskard {

/// The report on a check file. Lines end with a carriage return and a line feed:
///
///     *******
///     List of unknown strings in the language file:
///     *******
///     <item>                     line breaks in an item are written \r and \n
///     ...
///                                two empty lines before a second heading
///
///     *******
///     List of strings not found in the language file:
///     *******
///     <item>
class CheckReport {
 public:
  /// An English line that is no built-in text, or that occurs too often.
  void AddUnknown(std::wstring_view line);
  /// A built-in text that is still shown in English.
  void AddNotFound(std::wstring_view text);

  /// Empty when there is nothing to report.
  const std::wstring& Text() const { return text_; }

 private:
  void Add(std::wstring_view heading, std::wstring_view item);

  std::wstring text_;
  std::wstring_view heading_;  // the one that items are under
};

/// Takes the lines of a check file one after another: an English line, then its
/// translation.
class CheckPairs {
 public:
  CheckPairs(LanguageTable& table, CheckReport& report) : table_(table), report_(report) {}

  /// Takes a line, already unescaped. An English line claims the first built-in text
  /// that equals it and that no earlier pair has claimed; its translation is put into
  /// the table as it stands, unless it is a lone "?". An empty line starts a new pair.
  void TakeLine(std::wstring_view line);

 private:
  std::optional<size_t> Claim(std::wstring_view english);

  LanguageTable& table_;
  CheckReport& report_;
  std::bitset<kStringCount> claimed_;
  bool isTranslation_ = false;        // whether the next line is one
  std::optional<size_t> remembered_;  // the text that it translates
};

/// Applies a check file's text to a table and returns the report.
std::wstring ApplyCheckText(LanguageTable& table, std::wstring_view text);

}  // namespace veskard
