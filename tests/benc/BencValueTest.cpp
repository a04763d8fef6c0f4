#include "benc/BencValue.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/BencTesting.h"
#include "tests/support/Faults.h"

namespace veskard {
namespace {

using test::Parsed;
using test::Written;
using Kind = BencValue::Kind;

static_assert(sizeof(BencValue) == 16, "a 64-bit word and a kind");
static_assert(std::is_nothrow_move_constructible_v<BencValue>);
static_assert(std::is_nothrow_move_assignable_v<BencValue>);

TEST(BencValueTest, KindsHaveTheirDocumentedCodes) {
  EXPECT_EQ(static_cast<int>(Kind::None), 0);
  EXPECT_EQ(static_cast<int>(Kind::Int32), 1);
  EXPECT_EQ(static_cast<int>(Kind::Int64), 2);
  EXPECT_EQ(static_cast<int>(Kind::String), 3);
  EXPECT_EQ(static_cast<int>(Kind::List), 4);
  EXPECT_EQ(static_cast<int>(Kind::Dict), 5);
  EXPECT_EQ(static_cast<int>(Kind::Null), 253);
  EXPECT_EQ(static_cast<int>(Kind::Bool), 254);
}

TEST(BencValueTest, IsNoneAtFirst) {
  const BencValue value;
  EXPECT_EQ(value.GetKind(), Kind::None);
  EXPECT_EQ(value.Word(), 0);
  EXPECT_EQ(value.AsInt(), 0);
  EXPECT_EQ(value.AsBytes(), "");
  EXPECT_TRUE(value.Items().empty());
  EXPECT_TRUE(value.Entries().begin() == value.Entries().end());
}

TEST(BencValueTest, Int32IsSignExtended) {
  const BencValue value = BencValue::FromInt32(std::numeric_limits<int32_t>::min());
  EXPECT_EQ(value.GetKind(), Kind::Int32);
  EXPECT_EQ(value.Word(), int64_t{-2147483648});
  EXPECT_EQ(value.AsInt(), int64_t{-2147483648});
}

TEST(BencValueTest, OnlyIntegersReadAsIntegers) {
  EXPECT_EQ(BencValue::FromInt64(int64_t{1} << 40).AsInt(), int64_t{1} << 40);
  EXPECT_EQ(BencValue::FromBool(true).AsInt(), 0);
  EXPECT_EQ(BencValue::FromBool(true).Word(), 1);
  EXPECT_EQ(BencValue::FromBool(false).Word(), 0);
  EXPECT_EQ(BencValue::FromString("7").AsInt(), 0);
  EXPECT_EQ(BencValue::FromString("7").Word(), 0);
  EXPECT_EQ(BencValue::MakeNull().Word(), 0);
  EXPECT_EQ(BencValue::MakeList().AsInt(), 0);
}

TEST(BencValueTest, SettersDestroyWhatWasThere) {
  BencValue value = BencValue::FromString("text");
  value.SetInt32(-5);
  EXPECT_EQ(value.GetKind(), Kind::Int32);
  EXPECT_EQ(value.AsInt(), -5);
  value = Parsed("d1:al1:bee");
  value.SetInt64(int64_t{1} << 50);
  EXPECT_EQ(value.GetKind(), Kind::Int64);
  EXPECT_EQ(value.AsInt(), int64_t{1} << 50);
  value = Parsed("ll1:aee");
  value.Reset();
  EXPECT_EQ(value.GetKind(), Kind::None);
}

TEST(BencValueTest, MovingLeavesNone) {
  BencValue source = Parsed("d1:al1:bee");
  BencValue target = std::move(source);
  EXPECT_EQ(source.GetKind(), Kind::None);
  EXPECT_EQ(Written(target), "d1:al1:bee");
  source = std::move(target);
  EXPECT_EQ(target.GetKind(), Kind::None);
  EXPECT_EQ(Written(source), "d1:al1:bee");
}

TEST(BencValueTest, MovingToItselfKeepsTheValue) {
  BencValue value = Parsed("l1:ae");
  BencValue& same = value;
  value = std::move(same);
  EXPECT_EQ(Written(value), "l1:ae");
}

TEST(BencValueTest, AValueCanBeReplacedByAPartOfItself) {
  BencValue value = Parsed("d1:al1:b1:cee");
  value = *value.Find("a");
  EXPECT_EQ(Written(value), "l1:b1:ce");
}

std::vector<BencValue> OneOfEachKind() {
  std::vector<BencValue> values;
  values.push_back(BencValue());
  values.push_back(BencValue::FromInt32(-1));
  values.push_back(BencValue::FromInt64(int64_t{1} << 60));
  values.push_back(BencValue::FromString(std::string_view("a\0b", 3)));
  values.push_back(BencValue::FromString(""));
  values.push_back(Parsed("li1el1:xee"));
  values.push_back(Parsed("d1:ai1e1:bd1:cleee"));
  values.push_back(BencValue::MakeNull());
  values.push_back(BencValue::FromBool(true));
  return values;
}

TEST(BencValueTest, CopiesAreDeepAndOfTheSameKind) {
  for (BencValue& value : OneOfEachKind()) {
    const std::string before = Written(value);
    const BencValue copy = value;
    EXPECT_EQ(copy.GetKind(), value.GetKind());
    EXPECT_EQ(copy.Word(), value.Word());
    value.Reset();
    EXPECT_EQ(Written(copy), before);
  }
}

TEST(BencValueTest, ACopyDoesNotFollowTheOriginal) {
  BencValue list = Parsed("l1:ae");
  const BencValue copy = list;
  list.Append(BencValue::FromInt32(2));
  EXPECT_EQ(Written(copy), "l1:ae");
  EXPECT_EQ(Written(list), "l1:ai2ee");
}

TEST(BencValueTest, AssigningACopyReplacesTheValue) {
  BencValue value = Parsed("l1:ae");
  const BencValue other = Parsed("d1:bi1ee");
  value = other;
  EXPECT_EQ(Written(value), "d1:bi1ee");
  const BencValue& same = value;
  value = same;
  EXPECT_EQ(Written(value), "d1:bi1ee");
}

TEST(BencValueTest, CopyingADictionaryKeepsKeysWithNuls) {
  const std::string text("d3:a\0bi1e1:bi2ee", 16);
  const BencValue copy = BencValue(Parsed(text));
  EXPECT_EQ(Written(copy), text);
}

TEST(BencValueTest, FindsByKey) {
  const BencValue dict = Parsed("d0:i1e1:ai2e2:abi3e1:bi4ee");
  EXPECT_EQ(dict.FindInt(""), 1);
  EXPECT_EQ(dict.FindInt("a"), 2);
  EXPECT_EQ(dict.FindInt("ab"), 3);
  EXPECT_EQ(dict.FindInt("b"), 4);
  EXPECT_EQ(dict.Find("abc"), nullptr);
  EXPECT_EQ(dict.Find("B"), nullptr);
}

TEST(BencValueTest, ANullKeyIsTheEmptyKey) {
  BencValue dict = BencValue::MakeDict();
  EXPECT_EQ(dict.Find(static_cast<const char*>(nullptr)), nullptr);
  dict.InsertInt(nullptr, 7);
  EXPECT_EQ(dict.FindInt(nullptr), 7);
  EXPECT_EQ(dict.FindInt(""), 7);
  EXPECT_EQ(Written(dict), "d0:i7ee");
}

TEST(BencValueTest, FindByBytesStopsAtANul) {
  const BencValue dict = Parsed("d1:ai1ee");
  EXPECT_NE(dict.Find(std::string_view("a\0zzz", 5)), nullptr);
  EXPECT_EQ(dict.Find(std::string_view("\0a", 2)), nullptr);
}

TEST(BencValueTest, FindsNothingInOtherKinds) {
  for (const BencValue& value : OneOfEachKind()) {
    if (value.GetKind() == Kind::Dict) continue;
    EXPECT_EQ(value.Find("a"), nullptr);
    EXPECT_EQ(value.Find(std::string_view("a")), nullptr);
    EXPECT_EQ(value.FindInt("a"), 0);
  }
}

TEST(BencValueTest, FindsNothingInAnEmptyDictionary) {
  EXPECT_EQ(BencValue::MakeDict().Find("a"), nullptr);
  EXPECT_EQ(BencodedDict().Find("a"), nullptr);
}

TEST(BencValueTest, IntegerReadsHaveADefaultOfZero) {
  const BencValue dict = Parsed("d1:i1:71:nlee");
  EXPECT_EQ(dict.FindInt("i"), 0) << "a string";
  EXPECT_EQ(dict.FindInt("n"), 0) << "a list";
  EXPECT_EQ(dict.FindInt("x"), 0) << "no entry";
}

TEST(BencValueTest, TheFirstInsertionOfAKeyWins) {
  BencodedDict dict;
  dict.InsertInt("a", 1);
  BencValue offered = Parsed("l1:xe");
  dict.Insert("a", std::move(offered));
  EXPECT_EQ(offered.GetKind(), Kind::None) << "the offered value is destroyed";
  EXPECT_EQ(Written(dict), "d1:ai1ee");
}

TEST(BencValueTest, InsertedIntegersHave32Bits) {
  BencodedDict dict;
  dict.InsertInt("a", -1);
  EXPECT_EQ(dict.Find("a")->GetKind(), Kind::Int32);
}

TEST(BencValueTest, InsertAndAppendDoNothingOnOtherKinds) {
  BencValue list = BencValue::MakeList();
  list.InsertInt("a", 1);
  EXPECT_EQ(Written(list), "le");
  BencValue dict = BencValue::MakeDict();
  dict.Append(BencValue::FromInt32(1));
  EXPECT_EQ(Written(dict), "de");
  BencValue none;
  none.InsertInt("a", 1);
  none.Append(BencValue::FromInt32(1));
  EXPECT_EQ(none.GetKind(), Kind::None);
}

// What lies inside a value is seen through const only, so that no value can be moved
// into a part of itself.
static_assert(std::is_same_v<decltype(std::declval<BencValue&>().Find("")), const BencValue*>);
static_assert(std::is_same_v<decltype(std::declval<BencValue&>().Items()[0]), const BencValue&>);
static_assert(
    std::is_same_v<decltype((*std::declval<BencValue&>().Entries().begin()).value), const BencValue&>);

TEST(BencValueTest, ADictionaryIsNotInsertedIntoItself) {
  for (const char* text : {"de", "d1:ai1ee", "d1:al1:xee"}) {
    const size_t before = test::LiveBlocks();
    {
      BencValue dict = Parsed(text);
      for (const char* key : {"new", "a"}) {
        dict.Insert(key, std::move(dict));
        EXPECT_EQ(Written(dict), text) << key;
      }
      dict.InsertInt("z", 2);
      EXPECT_EQ(dict.FindInt("z"), 2);
    }
    EXPECT_EQ(test::LiveBlocks(), before) << text;
  }
}

TEST(BencValueTest, AListIsNotAppendedToItself) {
  for (const char* text : {"le", "l1:ae", "li1ei2ei3ei4ee"}) {
    const size_t before = test::LiveBlocks();
    {
      BencValue list = Parsed(text);
      list.Append(std::move(list));
      EXPECT_EQ(Written(list), text);
    }
    EXPECT_EQ(test::LiveBlocks(), before) << text;
  }
}

TEST(BencValueTest, ACopyCanBePutIntoTheOriginal) {
  BencValue list = Parsed("l1:ae");
  list.Append(BencValue(list));
  EXPECT_EQ(Written(list), "l1:al1:aee");
  BencValue dict = Parsed("d1:ai1ee");
  dict.Insert("b", BencValue(dict));
  EXPECT_EQ(Written(dict), "d1:ai1e1:bd1:ai1eee");
}

TEST(BencValueTest, AppendMovesToTheEnd) {
  BencValue list = BencValue::MakeList();
  std::string expected = "l";
  for (int i = 0; i < 100; ++i) {
    BencValue text = BencValue::FromString("x");
    list.Append(std::move(text));
    EXPECT_EQ(text.GetKind(), Kind::None);
    list.Append(BencValue::FromInt32(i));
    expected += "1:xi" + std::to_string(i) + "e";
  }
  EXPECT_EQ(list.Items().size(), 200u);
  EXPECT_EQ(Written(list), expected + "e");
}

TEST(BencValueTest, EntriesComeInAscendingKeyOrder) {
  BencodedDict dict;
  for (const char* key : {"path", "action", "\x80", "last", "p", "files"}) dict.InsertInt(key, 0);
  std::vector<std::string> keys;
  for (const BencEntry entry : dict.Entries()) keys.emplace_back(entry.key);
  EXPECT_EQ(keys, (std::vector<std::string>{"action", "files", "last", "p", "path", "\x80"}));
}

TEST(BencValueTest, BencodedDictIsADictionary) {
  EXPECT_EQ(BencodedDict().GetKind(), Kind::Dict);
  BencodedDict dict;
  dict.InsertInt("a", 1);
  const BencodedDict copy = dict;
  EXPECT_EQ(Written(copy), "d1:ai1ee");
}

}  // namespace
}  // namespace veskard
