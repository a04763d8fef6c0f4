// The table in a program that never loads a language.
#include <gtest/gtest.h>

#include "lang/LanguageTable.h"
#include "lang/StringTable.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

TEST(UnloadedTableTest, TextsAreEnglishWithNamesFilledIn) {
  EXPECT_EQ(GetString(StringId::kShareWith), L"Share with Nimbrel Veskard Agent");
  const StringTable english;
  for (uint32_t number = 0; number < kStringCount; ++number)
    EXPECT_EQ(GetString(number), english.Get(number));
}

TEST(UnloadedTableTest, StatusIsEmpty) {
  const LanguageStatus status = GetLanguageStatus();
  EXPECT_EQ(status.archive, DataStatus::kMissing);
  EXPECT_EQ(status.member, "");
  EXPECT_TRUE(status.diagnostics.empty());
}

TEST(UnloadedTableTest, FormatterHasUnitNames) {
  EXPECT_EQ(FormatString(L"%Z", uint64_t{512}), L"0.5 kB");
}

}  // namespace
}  // namespace veskard
