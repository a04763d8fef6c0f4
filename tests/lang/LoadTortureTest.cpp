// Loading a language with every heap allocation failing, one after another.
#include <gtest/gtest.h>

#include "lang/Language.h"
#include "tests/support/Faults.h"

namespace veskard {
namespace {

TEST(LoadTortureTest, LoadThatRunsOutOfMemoryKeepsTheOldTable) {
  const std::wstring* before = &GetString(8);
  const auto load = [] { LoadLanguage('d' | 'e' << 8); };
  const size_t failed = test::FailEachAllocation(load, [&](size_t number, bool threw, size_t blocksBefore) {
    const bool isFreed = test::LiveBlocks() == blocksBefore;
    EXPECT_TRUE(threw) << number;
    EXPECT_TRUE(isFreed) << number;
    EXPECT_EQ(&GetString(8), before) << number;
  });
  EXPECT_GT(failed, 300u);
  EXPECT_EQ(GetString(8), L"Abbrechen");
}

}  // namespace
}  // namespace veskard
