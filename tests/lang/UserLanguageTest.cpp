#include "lang/UserLanguage.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

TEST(UserLanguageTest, NamesOfALocale) {
  const UserLanguage user = LanguageOfLocale(L"de-AT");
  EXPECT_EQ(user.language, "de");
  EXPECT_EQ(user.country, "AT");
}

TEST(UserLanguageTest, LocaleThatIsNoneHasNoNames) {
  const UserLanguage user = LanguageOfLocale(L"no such locale");
  EXPECT_EQ(user.language, "");
  EXPECT_EQ(user.country, "");
}

TEST(UserLanguageTest, FirstPreferredLanguageIsALocale) {
  const std::wstring locale = FirstPreferredLanguage();
  EXPECT_EQ(LanguageOfLocale(locale).language.size(), 2u);
}

TEST(WantedCodesTest, GivenCodeIsWantedInBothPlaces) {
  const LanguageCodes codes = WantedCodes(static_cast<int32_t>(PackLanguageCode("ptBR")));
  EXPECT_EQ(codes.full, PackLanguageCode("ptBR"));
  EXPECT_EQ(codes.brief, PackLanguageCode("ptBR"));
}

TEST(WantedCodesTest, NegativeCodeMeansTheUsersOwn) {
  const UserLanguage user = LanguageOfLocale(FirstPreferredLanguage());
  for (const int32_t code : {-1, INT32_MIN}) {
    EXPECT_EQ(WantedCodes(code).full, CodesOfUser(user.language, user.country).full);
    EXPECT_EQ(WantedCodes(code).brief, CodesOfUser(user.language, user.country).brief);
  }
}

}  // namespace
}  // namespace veskard
