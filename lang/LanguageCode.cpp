#include "lang/LanguageCode.h"

#include <algorithm>

namespace veskard {
namespace {

bool IsAsciiLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

std::string FindMember(const std::vector<std::string>& names, LanguageCode code) {
  if (code == 0) return {};
  const auto found = std::find_if(names.begin(), names.end(),
                                  [code](const std::string& name) { return CodeOfMember(name) == code; });
  return found == names.end() ? std::string() : *found;
}

}  // namespace

LanguageCode PackLanguageCode(std::string_view letters) {
  LanguageCode code = 0;
  const size_t count = std::min(letters.size(), sizeof(code));
  for (size_t i = 0; i < count; ++i) code |= LanguageCode{static_cast<uint8_t>(letters[i])} << (8 * i);
  return code;
}

LanguageCode CodeOfMember(std::string_view name) {
  constexpr std::string_view kExtension = ".txt";
  const size_t mark = name.rfind('!');
  if (mark == std::string_view::npos || !name.ends_with(kExtension)) return 0;
  std::string_view letters = name.substr(mark + 1);
  letters.remove_suffix(std::min(kExtension.size(), letters.size()));
  const bool isCode = (letters.size() == 2 || letters.size() == 4) &&
                      std::all_of(letters.begin(), letters.end(), IsAsciiLetter);
  return isCode ? PackLanguageCode(letters) : 0;
}

LanguageCodes CodesOfUser(std::string_view language, std::string_view country) {
  const std::string letters(language.substr(0, 2));
  return {PackLanguageCode(letters + std::string(country.substr(0, 2))), PackLanguageCode(letters)};
}

std::string ChooseMember(const std::vector<std::string>& names, LanguageCodes codes) {
  std::string name = FindMember(names, codes.full);
  return name.empty() ? FindMember(names, codes.languageOnly) : name;
}

}  // namespace veskard
