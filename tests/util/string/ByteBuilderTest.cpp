#include "util/string/ByteBuilder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "tests/support/Faults.h"

namespace veskard {
namespace {

TEST(ByteBuilderTest, OwnsNothingAtFirst) {
  const ByteBuilder builder;
  EXPECT_EQ(builder.Data(), nullptr);
  EXPECT_EQ(builder.Length(), 0u);
  EXPECT_EQ(builder.Capacity(), 0u);
  EXPECT_EQ(builder.EscapeStyle(), 0);
  EXPECT_EQ(builder.View(), "");
}

TEST(ByteBuilderTest, StartsWithTheCapacityThatIsAsked) {
  const ByteBuilder builder(4096, 1);
  EXPECT_EQ(builder.Capacity(), 4096u);
  EXPECT_EQ(builder.Length(), 0u);
  EXPECT_EQ(builder.EscapeStyle(), 1);
}

TEST(ByteBuilderTest, Appends) {
  ByteBuilder builder;
  builder.Append("abc", 2);
  builder.Append(std::string_view("\0\xff", 2));
  builder.Append("", 0);
  builder.Append(nullptr, 0);
  EXPECT_EQ(builder.View(), std::string_view("ab\0\xff", 4));
}

TEST(ByteBuilderTest, TheSmallestCapacityIsSixteen) {
  ByteBuilder builder;
  builder.Append("a", 1);
  EXPECT_EQ(builder.Capacity(), 16u);
}

TEST(ByteBuilderTest, TheCapacityDoubles) {
  ByteBuilder builder;
  builder.Append(std::string(16, 'x'));
  EXPECT_EQ(builder.Capacity(), 16u);
  builder.Append("y", 1);
  EXPECT_EQ(builder.Capacity(), 32u);
  builder.Append(std::string(16, 'z'));
  EXPECT_EQ(builder.Capacity(), 64u);
}

TEST(ByteBuilderTest, ALargePieceGetsExactlyItsRoom) {
  ByteBuilder builder;
  builder.Append(std::string(10, 'x'));
  builder.Append(std::string(1000, 'y'));
  EXPECT_EQ(builder.Capacity(), 1010u);
}

TEST(ByteBuilderTest, CountsInElements) {
  ByteBuilder builder;
  const uint16_t units[] = {1, 2, 3};
  for (int i = 0; i < 10; ++i) builder.Append(units, 3, sizeof(uint16_t));
  EXPECT_EQ(builder.Length(), 30u);
  EXPECT_EQ(builder.Capacity(), 32u);
  EXPECT_EQ(std::string_view(builder.Data() + 54, 6),
            std::string_view(reinterpret_cast<const char*>(units), 6));
}

TEST(ByteBuilderTest, ExtendsForTheCallerToFill) {
  ByteBuilder builder;
  builder.Append("ab", 2);
  char* const at = builder.Extend(20);
  for (int i = 0; i < 20; ++i) at[i] = 'c';
  EXPECT_EQ(builder.View(), "ab" + std::string(20, 'c'));
  EXPECT_EQ(builder.Capacity(), 32u);
}

TEST(ByteBuilderTest, ReservesOnlyWhatIsMissing) {
  ByteBuilder builder;
  builder.Reserve(100);
  EXPECT_EQ(builder.Capacity(), 100u);
  builder.Reserve(50);
  EXPECT_EQ(builder.Capacity(), 100u);
}

TEST(ByteBuilderTest, MovingLeavesItEmpty) {
  ByteBuilder source(64, 1);
  source.Append("abc", 3);
  ByteBuilder target(std::move(source));
  EXPECT_EQ(source.Data(), nullptr);
  EXPECT_EQ(source.Length(), 0u);
  EXPECT_EQ(source.Capacity(), 0u);
  EXPECT_EQ(target.View(), "abc");
  EXPECT_EQ(target.EscapeStyle(), 1);

  ByteBuilder other;
  other.Append("old", 3);
  other = std::move(target);
  EXPECT_EQ(other.View(), "abc");
  ByteBuilder& same = other;
  other = std::move(same);
  EXPECT_EQ(other.View(), "abc");
}

TEST(ByteBuilderTest, AppendsFormattedText) {
  ByteBuilder builder;
  builder.AppendFormat("%d:", 42);
  builder.AppendFormat("%s", "text");
  builder.AppendFormat("");
  EXPECT_EQ(builder.View(), "42:text");
}

TEST(ByteBuilderTest, FormatsWhatLiesInItself) {
  ByteBuilder builder;
  builder.Append(std::string_view("0123456789abcde\0", 16));
  builder.AppendFormat("%s!", builder.Data());
  EXPECT_EQ(builder.View(), std::string_view("0123456789abcde\0"
                                             "0123456789abcde!",
                                             32));
}

TEST(ByteBuilderTest, CutsFormattedTextAt32767Characters) {
  ByteBuilder builder;
  builder.AppendFormat("%s", std::string(32767, 'x'));
  EXPECT_EQ(builder.Length(), 32767u);
  ByteBuilder other;
  other.AppendFormat("%s", std::string(32768, 'x'));
  EXPECT_EQ(other.Length(), 32767u);
  other.AppendFormat("%40000d", 1);
  EXPECT_EQ(other.Length(), 2 * 32767u);
}

TEST(ByteBuilderTest, WhatCannotBeAddressedCountsAsMemoryExhaustion) {
  // Read at run time: the compiler would refuse the calls.
  const volatile size_t largest = std::numeric_limits<size_t>::max();
  ByteBuilder builder;
  builder.Append("abc", 3);
  EXPECT_THROW(builder.Append("x", largest), std::bad_alloc);
  EXPECT_THROW(builder.Append("x", largest / 2, 4), std::bad_alloc);
  EXPECT_EQ(builder.View(), "abc");
  EXPECT_EQ(builder.Capacity(), 16u);
}

TEST(ByteBuilderTest, AFailingAllocationLeavesTheContents) {
  ByteBuilder builder;
  const std::string piece(40, 'x');
  std::string expected;
  for (int i = 0; i < 20; ++i) {
    const std::string before(builder.View());
    test::FailEachAllocation([&] { builder.Append(piece); },
                             [&](size_t, bool threw, size_t blocks) {
                               EXPECT_TRUE(threw);
                               EXPECT_EQ(builder.View(), before);
                               EXPECT_EQ(test::LiveBlocks(), blocks);
                             });
    expected += piece;
  }
  EXPECT_EQ(builder.View(), expected);
}

TEST(ByteBuilderTest, AFailingConstructionLeavesNothing) {
  const size_t failed = test::FailEachAllocation([] { ByteBuilder builder(64); },
                                                 [](size_t, bool threw, size_t blocks) {
                                                   EXPECT_TRUE(threw);
                                                   EXPECT_EQ(test::LiveBlocks(), blocks);
                                                 });
  EXPECT_EQ(failed, 1u);
}

TEST(ByteBuilderTest, FormattingThatFailsLeavesTheContents) {
  ByteBuilder builder;
  builder.Append("abc", 3);
  const std::string large(100, 'x');
  test::FailEachAllocation([&] { builder.AppendFormat("%s", large); },
                           [&](size_t, bool threw, size_t blocks) {
                             EXPECT_TRUE(threw);
                             EXPECT_EQ(builder.View(), "abc");
                             EXPECT_EQ(test::LiveBlocks(), blocks);
                           });
  EXPECT_EQ(builder.View(), "abc" + large);
}

}  // namespace
}  // namespace veskard
