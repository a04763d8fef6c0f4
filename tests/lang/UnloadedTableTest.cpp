// The table in a program that never loads a language.
#include <gtest/gtest.h>

#include "lang/Language.h"
#include "lang/LanguageTable.h"
#include "util/string/SizeText.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

TEST(UnloadedTableTest, TextsAreEnglishWithNamesFilledIn) {
  EXPECT_EQ(GetString(StringId::kShareWith), L"Share with Nimbrel Veskard Agent");
  const LanguageTable english;
  for (uint32_t number = 0; number < kStringCount; ++number)
    EXPECT_EQ(GetString(number), english.Get(number));
}

TEST(UnloadedTableTest, StatusIsEmpty) {
  const LanguageStatus status = GetLanguageStatus();
  EXPECT_EQ(status.archive, DataStatus::kMissing);
  EXPECT_EQ(status.member, "");
  EXPECT_TRUE(status.diagnostics.empty());
}

TEST(UnloadedTableTest, FormatterHasTheTablesUnitNames) {
  EXPECT_EQ(FormatString(L"%Z", uint64_t{512}), L"0.5 kB");
  for (const StringId unit :
       {StringId::kUnitBytes, StringId::kUnitExa, StringId::kUnitGiga, StringId::kUnitKilo,
        StringId::kUnitMega, StringId::kUnitPeta, StringId::kUnitTera}) {
    const auto number = static_cast<uint32_t>(unit);
    EXPECT_EQ(SizeUnitName(number), GetString(number)) << number;
  }
}

}  // namespace
}  // namespace veskard
