// Language codes, and which member of the archive a user gets.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace veskard {

/// Two or four ASCII letters, the first in the lowest byte, zero bytes behind:
///
///     "de"   -> 0x00006564       "deDE" -> 0x45446564
///
/// "de" and "deDE" are different codes; 0 is no code.
using LanguageCode = uint32_t;

/// Packs the first four characters of `letters`, or as many as there are.
LanguageCode PackLanguageCode(std::string_view letters);

/// The code in a member's name, "German!de.txt" -> "de" packed; 0 for a name that
/// is not a display name, "!", two or four ASCII letters and ".txt".
LanguageCode CodeOfMember(std::string_view name);

/// The codes that a member is looked for by, in this order.
struct LanguageCodes {
  LanguageCode full = 0;          // "deAT"
  LanguageCode languageOnly = 0;  // "de"
};

/// The codes of a user: the first two characters of the ISO 639 language name with
/// the first two of the ISO 3166 country name behind them, and without. The language
/// name is cut even where it has three letters ("fil" counts as "fi").
LanguageCodes CodesOfUser(std::string_view language, std::string_view country);

/// The name of the member to translate from; empty when no member has either code.
/// Of several with one code the first counts.
std::string ChooseMember(const std::vector<std::string>& names, LanguageCodes codes);

}  // namespace veskard
