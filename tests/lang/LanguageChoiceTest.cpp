// Started once for each language of a user, with the expected result in the
// environment: the user's locale and the archive's member, empty for English.
#include <gtest/gtest.h>

#include <cstdlib>

#include "lang/Language.h"
#include "lang/LanguageTable.h"
#include "lang/UserLanguage.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

std::string Expected(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? std::string() : std::string(value);
}

TEST(LanguageChoiceTest, FirstPreferredLanguageIsTheUsers) {
  EXPECT_EQ(Utf8FromWide(FirstPreferredLanguage()), Expected("EXPECTED_LOCALE"));
}

TEST(LanguageChoiceTest, UserGetsTheirLanguageOrEnglish) {
  LoadLanguage(-1);
  const std::string member = Expected("EXPECTED_MEMBER");
  EXPECT_EQ(GetLanguageStatus().member, member);
  EXPECT_EQ(GetString(StringId::kSyncToThisDevice) == L"Sync to this device", member.empty());
}

}  // namespace
}  // namespace veskard
