// The accounts found in an access list, compared with those of the regular expression.
#include "fs/util/AccountAliases.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>

namespace veskard {
namespace {

std::vector<std::wstring> Found(const std::wstring& text) {
  std::vector<std::wstring> aliases;
  for (const std::wstring_view alias : AccountAliases(text)) aliases.emplace_back(alias);
  return aliases;
}

std::vector<std::wstring> FoundByExpression(const std::wstring& text) {
  static const std::wregex expression(LR"(\((?:[^;]*;){5}([A-Z]*)[;\)])");
  std::vector<std::wstring> aliases;
  for (std::wsregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
    aliases.push_back((*match)[1].str());
  }
  return aliases;
}

using Aliases = std::vector<std::wstring>;

TEST(AccountAliasesTest, EachEntryGivesItsAlias) {
  EXPECT_EQ(Found(L"D:PAI(A;;FA;;;BA)(D;OICI;GR;;;WD)"), (Aliases{L"BA", L"WD"}));
}

TEST(AccountAliasesTest, AFullSidIsNone) {
  EXPECT_EQ(Found(L"D:(A;;FA;;;S-1-5-32-544)(A;;FA;;;BA)"), (Aliases{L"BA"}));
}

TEST(AccountAliasesTest, AMissingAccountIsAnEmptyOne) {
  EXPECT_EQ(Found(L"(A;;;;;)"), (Aliases{L""}));
}

TEST(AccountAliasesTest, AnAccountMayBeFollowedByAnotherField) {
  EXPECT_EQ(Found(L"(XA;;FX;;;WD;(@User.Title==\"PM\"))"), (Aliases{L"WD"}));
}

TEST(AccountAliasesTest, SmallLettersAndOtherCharactersAreNone) {
  EXPECT_EQ(Found(L"(A;;FA;;;Ba)(A;;FA;;;B1)(A;;FA;;;\u00C4)"), Aliases());
}

// A search that fails goes on at the next parenthesis, inside the entry as well.
TEST(AccountAliasesTest, AParenthesisInsideAFieldMayBeginTheMatch) {
  EXPECT_EQ(Found(L"(x;;;(A;;a;;;BA)"), (Aliases{L"BA"}));
}

TEST(AccountAliasesTest, FewerFieldsAreNone) {
  EXPECT_EQ(Found(L"(A;;FA;;BA)"), Aliases());
}

TEST(AccountAliasesTest, NothingIsFoundInNothing) {
  EXPECT_EQ(Found(L""), Aliases());
}

// Every text of seven or eight of the characters that matter.
TEST(AccountAliasesTest, FindsWhatTheExpressionFindsInEveryShortText) {
  const std::wstring letters = L"(;A)";
  std::wstring text;
  size_t found = 0;
  for (size_t length = 7; length <= 8; ++length) {
    for (size_t number = 0; number < size_t{1} << 2 * length; ++number) {
      text.clear();
      for (size_t i = 0; i < length; ++i) text += letters[number >> 2 * i & 3];
      const Aliases aliases = Found(text);
      ASSERT_EQ(aliases, FoundByExpression(text));
      found += aliases.size();
    }
  }
  EXPECT_GT(found, 20u);
}

TEST(AccountAliasesTest, FindsWhatTheExpressionFindsInLongTexts) {
  std::minstd_rand random(5);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts every time
  const std::wstring letters = L"((;;;;;;AB)z-\n";
  size_t found = 0;
  for (int run = 0; run < 3000; ++run) {
    std::wstring text;
    for (size_t length = random() % 60; text.size() < length;) text += letters[random() % letters.size()];
    const Aliases aliases = Found(text);
    ASSERT_EQ(aliases, FoundByExpression(text));
    found += aliases.size();
  }
  EXPECT_GT(found, 20u);
}

}  // namespace
}  // namespace veskard
