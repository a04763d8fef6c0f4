// The user's own language, asked from the system at this one place.
#pragma once

#include <string>

#include "lang/LanguageCode.h"

namespace veskard {

/// The ISO 639 and ISO 3166 names of a locale, as UTF-8; empty where the system has
/// none.
struct UserLanguage {
  std::string language;
  std::string country;
};

/// The names of a locale such as L"de-AT".
UserLanguage LanguageOfLocale(const std::wstring& locale);

/// The first of the user's preferred UI languages, L"de-AT"; empty when the system has
/// none.
std::wstring FirstPreferredLanguage();

/// The codes to look for in the archive: `code` as both of them, or those of the user's
/// own language when it is negative.
LanguageCodes WantedCodes(int32_t code);

}  // namespace veskard
