// The table in a program whose resource 111 is what the build makes it: missing,
// empty, or no archive at all. EXPECTED_STATUS says which.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lang/Language.h"
#include "lang/LanguageTable.h"

namespace veskard {
namespace {

TEST(NoArchiveTest, EveryTextIsEnglish) {
  LoadLanguage('d' | 'e' << 8);
  const LanguageTable english;
  for (uint32_t number = 0; number < kStringCount; ++number)
    EXPECT_EQ(GetString(number), english.Get(number));
}

TEST(NoArchiveTest, StatusTellsWhy) {
  LoadLanguage('d' | 'e' << 8);
  const LanguageStatus status = GetLanguageStatus();
  EXPECT_EQ(static_cast<int>(status.archive), EXPECTED_STATUS);
  EXPECT_EQ(status.member, "");
  EXPECT_EQ(status.diagnostics.size(), EXPECTED_STATUS == 0 ? 1u : 0u);
}

}  // namespace
}  // namespace veskard
