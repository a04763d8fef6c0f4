#include "core/Owner.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/StdAfx.h"

namespace veskard {
namespace {

std::vector<int> closed;

struct CountedResource {
  using Value = int;
  static int Invalid() noexcept { return -1; }
  static void Close(int value) noexcept { closed.push_back(value); }
};
using CountedOwner = Owner<CountedResource>;

class OwnerTest : public testing::Test {
 protected:
  void SetUp() override { closed.clear(); }
};

TEST_F(OwnerTest, OwnsNothingAtFirst) {
  {
    const CountedOwner owner;
    EXPECT_FALSE(owner);
  }
  EXPECT_TRUE(closed.empty());
}

TEST_F(OwnerTest, ClosesOnceAtTheEndOfItsScope) {
  {
    const CountedOwner owner(7);
    EXPECT_TRUE(owner);
    EXPECT_EQ(owner.Get(), 7);
  }
  EXPECT_EQ(closed, std::vector<int>{7});
}

TEST_F(OwnerTest, MoveConstructionLeavesTheSourceEmpty) {
  CountedOwner first(7);
  { const CountedOwner second(std::move(first)); }
  EXPECT_FALSE(first);
  EXPECT_EQ(closed, std::vector<int>{7});
}

TEST_F(OwnerTest, MoveAssignmentClosesWhatItReplaces) {
  CountedOwner first(7);
  CountedOwner second(8);
  first = std::move(second);
  EXPECT_EQ(closed, std::vector<int>{7});
  EXPECT_EQ(first.Get(), 8);
}

TEST_F(OwnerTest, SelfAssignmentKeepsTheResource) {
  CountedOwner owner(7);
  CountedOwner& same = owner;
  owner = std::move(same);
  EXPECT_TRUE(closed.empty());
  EXPECT_EQ(owner.Get(), 7);
}

TEST_F(OwnerTest, ReleaseGivesTheResourceAway) {
  {
    CountedOwner owner(7);
    EXPECT_EQ(owner.Release(), 7);
  }
  EXPECT_TRUE(closed.empty());
}

TEST_F(OwnerTest, OutClosesWhatIsOwnedAndTakesWhatIsWritten) {
  CountedOwner owner(7);
  *owner.Out() = 9;
  EXPECT_EQ(closed, std::vector<int>{7});
  EXPECT_EQ(owner.Get(), 9);
}

TEST(AssertionDeathTest, NamesUnitAndLineAndStopsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(AssertionFailed("fs\\util\\Handle", 72),
               "\nassert failed fs\\\\util\\\\Handle:72 \\(34013186\\)\r?\n");
}

}  // namespace
}  // namespace veskard
