#include "lang/UserLanguage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Patched.h"

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

// The system's part: a list of preferred languages, and what goes wrong.
class PreferredLanguagesTest : public testing::Test {
 protected:
  void ExpectNone() {
    EXPECT_EQ(FirstPreferredLanguage(), L"");
    calls_ = 0;
    EXPECT_EQ(WantedCodes(-1).full, 0u);
    calls_ = 0;
    EXPECT_EQ(WantedCodes(-1).languageOnly, 0u);
  }

  std::wstring list_{L"de-AT\0fr-FR\0", 13};  // with the zero that ends the list
  ULONG count_ = 2;
  int calls_ = 0;
  int refusedCall_ = 0;
  const test::Patched<&::GetUserPreferredUILanguages> patch_{
      "GetUserPreferredUILanguages", [this](auto, DWORD flags, ULONG* count, wchar_t* names, ULONG* size) {
        EXPECT_EQ(flags, 8u);  // as names
        *count = count_;
        if (names != nullptr) {
          EXPECT_GE(*size, list_.size());
          std::copy(list_.begin(), list_.end(), names);
        }
        *size = static_cast<ULONG>(list_.size());
        return ++calls_ != refusedCall_;
      }};
};

TEST_F(PreferredLanguagesTest, TheFirstOfSeveralCounts) {
  EXPECT_EQ(FirstPreferredLanguage(), L"de-AT");
  EXPECT_EQ(calls_, 2);
  const LanguageCodes codes = WantedCodes(-1);
  EXPECT_EQ(codes.full, PackLanguageCode("deAT"));
  EXPECT_EQ(codes.languageOnly, PackLanguageCode("de"));
}

TEST_F(PreferredLanguagesTest, AListWhoseSizeIsNotToldIsNone) {
  refusedCall_ = 1;
  ExpectNone();
}

TEST_F(PreferredLanguagesTest, AListThatIsNotGivenIsNone) {
  refusedCall_ = 2;
  ExpectNone();
}

TEST_F(PreferredLanguagesTest, AListThatCountsNoLanguageIsNone) {
  count_ = 0;
  ExpectNone();
}

TEST_F(PreferredLanguagesTest, AnEmptyListIsNone) {
  list_.clear();
  ExpectNone();
  EXPECT_EQ(calls_, 1);  // there is nothing to fetch
}

TEST(WantedCodesTest, GivenCodeIsWantedInBothPlaces) {
  const LanguageCodes codes = WantedCodes(static_cast<int32_t>(PackLanguageCode("ptBR")));
  EXPECT_EQ(codes.full, PackLanguageCode("ptBR"));
  EXPECT_EQ(codes.languageOnly, PackLanguageCode("ptBR"));
}

TEST(WantedCodesTest, NegativeCodeMeansTheUsersOwn) {
  const UserLanguage user = LanguageOfLocale(FirstPreferredLanguage());
  for (const int32_t code : {-1, INT32_MIN}) {
    EXPECT_EQ(WantedCodes(code).full, CodesOfUser(user.language, user.country).full);
    EXPECT_EQ(WantedCodes(code).languageOnly, CodesOfUser(user.language, user.country).languageOnly);
  }
}

}  // namespace
}  // namespace veskard
