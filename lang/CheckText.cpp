#include "lang/CheckText.h"

#include "lang/BuiltInStrings.h"
#include "lang/LineFile.h"

namespace veskard {
namespace {

constexpr std::wstring_view kUnknownHeading =
    L"*******\r\nList of unknown strings in the language file:\r\n*******\r\n";
constexpr std::wstring_view kNotFoundHeading =
    L"*******\r\nList of strings not found in the language file:\r\n*******\r\n";
constexpr std::wstring_view kLineEnd = L"\r\n";
constexpr std::wstring_view kBetweenLists = L"\r\n\r\n";
constexpr std::wstring_view kKeepEntry = L"?";

}  // namespace

void CheckReport::AddUnknown(std::wstring_view line) {
  Add(kUnknownHeading, line);
}

void CheckReport::AddNotFound(std::wstring_view text) {
  Add(kNotFoundHeading, text);
}

void CheckReport::Add(std::wstring_view heading, std::wstring_view item) {
  if (heading != heading_) {
    if (!text_.empty()) text_ += kBetweenLists;
    text_ += heading;
    heading_ = heading;
  }
  text_ += EscapeLineBreaks(item);
  text_ += kLineEnd;
}

void CheckPairs::TakeLine(std::wstring_view line) {
  const bool isEnglish = !isTranslation_ && !line.empty();
  if (isEnglish) {
    remembered_ = Claim(line);
    if (!remembered_) report_.AddUnknown(line);
  } else {
    if (remembered_ && !line.empty() && line != kKeepEntry) table_.Set(*remembered_, std::wstring(line));
    remembered_.reset();
  }
  isTranslation_ = isEnglish;
}

std::optional<size_t> CheckPairs::Claim(std::wstring_view english) {
  for (size_t number = 0; number < kStringCount; ++number) {
    if (claimed_[number] || !EqualsBuiltIn(english, number)) continue;
    claimed_.set(number);
    return number;
  }
  return std::nullopt;
}

std::wstring ApplyCheckText(LanguageTable& table, std::wstring_view text) {
  CheckReport report;
  CheckPairs pairs(table, report);
  LineWalker lines(text);
  for (std::wstring_view line; lines.Next(line);) pairs.TakeLine(UnescapeLine(line));

  for (size_t number = 0; number < kStringCount; ++number) {
    if (!table.IsEnglish(number)) continue;
    const std::string_view ascii = BuiltInString(number);
    report.AddNotFound(std::wstring(ascii.begin(), ascii.end()));
  }
  return report.Text();
}

}  // namespace veskard
