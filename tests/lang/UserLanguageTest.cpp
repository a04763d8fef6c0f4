#include "lang/UserLanguage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/ImportPatch.h"

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
  PreferredLanguagesTest() { self_ = this; }

  static BOOL WINAPI Answer(DWORD flags, ULONG* count, wchar_t* names, ULONG* size) {
    EXPECT_EQ(flags, 8u);  // as names
    const bool refused = ++self_->calls_ == self_->refusedCall_;
    *count = self_->count_;
    if (names != nullptr) {
      EXPECT_GE(*size, self_->list_.size());
      std::copy(self_->list_.begin(), self_->list_.end(), names);
    }
    *size = static_cast<ULONG>(self_->list_.size());
    return refused ? FALSE : TRUE;
  }

  static void ExpectNone() {
    EXPECT_EQ(FirstPreferredLanguage(), L"");
    self_->calls_ = 0;
    EXPECT_EQ(WantedCodes(-1).full, 0u);
    self_->calls_ = 0;
    EXPECT_EQ(WantedCodes(-1).languageOnly, 0u);
  }

  static inline PreferredLanguagesTest* self_ = nullptr;
  std::wstring list_{L"de-AT\0fr-FR\0", 13};  // with the zero that ends the list
  ULONG count_ = 2;
  int calls_ = 0;
  int refusedCall_ = 0;
  const test::FunctionPatch<BOOL WINAPI(DWORD, ULONG*, wchar_t*, ULONG*)> patch_{
      nullptr, "GetUserPreferredUILanguages", &Answer};
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
