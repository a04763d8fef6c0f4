#include "lang/UserLanguage.h"

#include <windows.h>

#include <array>
#include <vector>

#include "util/string/CodePage.h"

namespace veskard {
namespace {

std::string ReadLocaleName(const std::wstring& locale, LCTYPE type) {
  std::array<wchar_t, 31> name{};
  const int length = ::GetLocaleInfoEx(locale.c_str(), type, name.data(), static_cast<int>(name.size()));
  return length == 0 ? std::string() : Utf8FromWide(name.data());
}

}  // namespace

UserLanguage LanguageOfLocale(const std::wstring& locale) {
  return {ReadLocaleName(locale, LOCALE_SISO639LANGNAME), ReadLocaleName(locale, LOCALE_SISO3166CTRYNAME)};
}

std::wstring FirstPreferredLanguage() {
  ULONG count = 0;
  ULONG size = 0;
  if (::GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &size) == FALSE || size == 0)
    return {};
  // The names stand one after another, each ended by a NUL, the list by one more.
  std::vector<wchar_t> names(size + size_t{1});
  if (::GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &size) == FALSE || count == 0) {
    return {};
  }
  return names.data();
}

LanguageCodes WantedCodes(int32_t code) {
  if (code >= 0) return {static_cast<LanguageCode>(code), static_cast<LanguageCode>(code)};
  const std::wstring locale = FirstPreferredLanguage();
  if (locale.empty()) return {};
  const UserLanguage user = LanguageOfLocale(locale);
  return CodesOfUser(user.language, user.country);
}

}  // namespace veskard
