#include "lang/LanguageTable.h"

#include <algorithm>
#include <bitset>

#include "core/Product.h"
#include "lang/BuiltInStrings.h"
#include "lang/LineFile.h"

namespace veskard {
namespace {

void ReplaceAll(std::wstring& text, std::wstring_view placeholder, std::wstring_view name) {
  size_t at = text.find(placeholder);
  while (at != std::wstring::npos) {
    text.replace(at, placeholder.size(), name);
    at = text.find(placeholder, at + name.size());
  }
}

std::wstring EnglishText(size_t number) {
  const std::string_view ascii = BuiltInString(number);
  std::wstring text(ascii.begin(), ascii.end());
  ExpandAppNames(text);
  return text;
}

}  // namespace

LanguageTable::LanguageTable() {
  for (size_t number = 0; number < kStringCount; ++number) entries_[number] = EnglishText(number);
}

void LanguageTable::Translate(std::wstring_view translation, std::wstring_view english) {
  std::bitset<kStringCount> matched;
  LineWalker translatedLines(translation);
  LineWalker englishLines(english);
  std::wstring_view translatedLine;
  std::wstring_view englishLine;
  while (!matched.all() && translatedLines.Next(translatedLine) && englishLines.Next(englishLine)) {
    std::wstring text = UnescapeLine(translatedLine);
    ExpandAppNames(text);
    const std::wstring original = UnescapeLine(englishLine);
    for (size_t number = 0; number < kStringCount; ++number) {
      if (matched[number] || !EqualsBuiltIn(original, number)) continue;
      matched.set(number);
      entries_[number] = text;
    }
  }
}

bool LanguageTable::IsEnglish(size_t number) const {
  return entries_[number] == EnglishText(number);
}

bool EqualsBuiltIn(std::wstring_view line, size_t number) {
  const std::string_view builtIn = BuiltInString(number);
  return line.size() == builtIn.size() &&
         std::equal(line.begin(), line.end(), builtIn.begin(),
                    [](wchar_t wide, char ascii) { return wide == static_cast<wchar_t>(ascii); });
}

void ExpandAppNames(std::wstring& text) {
  ReplaceAll(text, L"%APPNAME%", kAgentName);
  ReplaceAll(text, L"%APPSHORTNAME%", kAgentShortName);
}

}  // namespace veskard
