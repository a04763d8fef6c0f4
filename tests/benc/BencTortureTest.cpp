// Every allocation fails in turn: nothing leaks, and no half value is left.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "benc/BencWriter.h"
#include "tests/support/BencTesting.h"
#include "tests/support/Faults.h"

namespace veskard {
namespace {

using test::FailEachAllocation;
using test::LiveBlocks;
using test::Parsed;
using test::Written;

// Deep enough that the explicit stacks leave their inline room, wide enough that
// lists grow, and with strings too large to share a slab.
std::string DeepAndWide() {
  const std::string large = "300:" + std::string(300, 'x');
  std::string text;
  for (int i = 0; i < 40; ++i) text += "d1:ai1e1:bl";
  for (int i = 0; i < 60; ++i) text += "4:texti7e" + large;
  for (int i = 0; i < 40; ++i) text += "e1:c3:end5:large" + large + "6:secret4:hidee";
  return text;
}

TEST(BencTortureTest, Parsing) {
  const std::string text = DeepAndWide();
  BencValue target;
  const size_t failed = FailEachAllocation(
      [&] {
        std::string buffer = text;
        target = BencValue::FromInt32(1);
        BencParser parser(buffer.data(), buffer.data() + buffer.size());
        ParseBencoded(target, parser);
      },
      [&](size_t number, bool threw, size_t before) {
        EXPECT_TRUE(threw) << number;
        EXPECT_EQ(LiveBlocks(), before) << number;
        if (number > 1) {  // the first is the test's own buffer
          EXPECT_EQ(target.GetKind(), BencValue::Kind::None) << number;
        }
      });
  EXPECT_GT(failed, 100u);
  EXPECT_EQ(Written(target), text);
}

TEST(BencTortureTest, Copying) {
  const BencValue original = Parsed(DeepAndWide());
  BencValue target = BencValue::FromString("before");
  const size_t failed = FailEachAllocation([&] { target = original; },
                                           [&](size_t number, bool threw, size_t before) {
                                             EXPECT_TRUE(threw) << number;
                                             EXPECT_EQ(LiveBlocks(), before) << number;
                                             EXPECT_EQ(target.AsBytes(), "before") << number;
                                           });
  EXPECT_GT(failed, 100u);
  EXPECT_EQ(Written(target), Written(original));
}

TEST(BencTortureTest, Writing) {
  const std::string text = DeepAndWide();
  const BencValue value = Parsed(text);
  std::string written;
  const size_t failed = FailEachAllocation([&] { written = Written(value); },
                                           [&](size_t number, bool threw, size_t before) {
                                             EXPECT_TRUE(threw) << number;
                                             EXPECT_EQ(LiveBlocks(), before) << number;
                                             EXPECT_EQ(written, "") << number;
                                           });
  EXPECT_GT(failed, 5u);
  EXPECT_EQ(written, text);
}

TEST(BencTortureTest, Dumping) {
  const BencValue value = Parsed(DeepAndWide());
  const std::string expected = test::Dumped(value);
  std::string dumped;
  const size_t failed = FailEachAllocation([&] { dumped = test::Dumped(value); },
                                           [&](size_t number, bool threw, size_t before) {
                                             EXPECT_TRUE(threw) << number;
                                             EXPECT_EQ(LiveBlocks(), before) << number;
                                             EXPECT_EQ(dumped, "") << number;
                                           });
  EXPECT_GT(failed, 5u);
  EXPECT_EQ(dumped, expected);
}

// The value that an insertion or an append failed on is as it was, and so is the
// offered one.
TEST(BencTortureTest, InsertingAndAppending) {
  for (int entries = 0; entries < 12; ++entries) {
    BencodedDict dict;
    BencValue list = BencValue::MakeList();
    for (int i = 0; i < entries; ++i) {
      dict.InsertInt(std::to_string(i).c_str(), i);
      list.Append(BencValue::FromInt32(i));
    }
    const std::string dictBefore = Written(dict);
    const std::string listBefore = Written(list);
    BencValue offered = BencValue::FromString("offered");
    FailEachAllocation([&] { dict.Insert("new", std::move(offered)); },
                       [&](size_t number, bool threw, size_t before) {
                         EXPECT_TRUE(threw) << number;
                         EXPECT_EQ(LiveBlocks(), before) << number;
                         EXPECT_EQ(Written(dict), dictBefore) << number;
                         EXPECT_EQ(offered.AsBytes(), "offered") << number;
                       });
    offered = BencValue::FromString("offered");
    FailEachAllocation([&] { list.Append(std::move(offered)); },
                       [&](size_t number, bool threw, size_t before) {
                         EXPECT_TRUE(threw) << number;
                         EXPECT_EQ(LiveBlocks(), before) << number;
                         EXPECT_EQ(Written(list), listBefore) << number;
                         EXPECT_EQ(offered.AsBytes(), "offered") << number;
                       });
    EXPECT_EQ(dict.Find("new")->AsBytes(), "offered");
    EXPECT_EQ(list.Items().back().AsBytes(), "offered");
  }
}

TEST(BencTortureTest, MakingStrings) {
  BencValue value;
  const size_t failed = FailEachAllocation([&] { value = BencValue::FromString("some text"); },
                                           [&](size_t number, bool threw, size_t before) {
                                             EXPECT_TRUE(threw) << number;
                                             EXPECT_EQ(LiveBlocks(), before) << number;
                                             EXPECT_EQ(value.GetKind(), BencValue::Kind::None) << number;
                                           });
  EXPECT_EQ(failed, 1u);
}

TEST(BencTortureTest, DestroyingTakesNoMemory) {
  BencValue value = Parsed(DeepAndWide());
  EXPECT_EQ(test::AllocationsOf([&] { value.Reset(); }), 0u);
}

TEST(BencTortureTest, AParsedTreeSharesItsBlocks) {
  const size_t before = LiveBlocks();
  BencValue value = Parsed("d1:ai1e4:name5:hello4:nonele4:someli1ei2eee");
  EXPECT_EQ(LiveBlocks() - before, 1u);
  value.InsertInt("more", 1);
  EXPECT_EQ(LiveBlocks() - before, 2u) << "an entry of its own";
  const BencValue copy = value;
  EXPECT_EQ(LiveBlocks() - before, 3u);
  value.Reset();
  EXPECT_EQ(LiveBlocks() - before, 1u);
}

}  // namespace
}  // namespace veskard
