#include "benc/BencParser.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/BencTesting.h"
#include "tests/support/GuardedBuffer.h"

namespace veskard {
namespace {

using test::GuardedBuffer;
using test::Parsed;
using test::Written;

constexpr const char* kRefused = nullptr;

// What a text parses to, written back; or that it is refused.
struct Row {
  const char* name;
  const char* input;
  const char* written;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.input;
}

// clang-format off
const Row kRows[] = {
    {"ADictionary",                       "d1:ai1ee",              "d1:ai1ee"},
    {"AListOfIntegers",                   "li-3ei0ee",             "li-3ei0ee"},
    {"EmptyContainers",                   "ldelee",                "ldelee"},
    {"NestedContainers",                  "d1:ad1:bl1:ci7eee1:di8ee", "d1:ad1:bl1:ci7eee1:di8ee"},
    {"KeysAreSorted",                     "d1:b0:1:a0:e",          "d1:a0:1:b0:e"},
    {"KeysMayBeEmpty",                    "d0:i1ee",               "d0:i1ee"},
    {"WhatFollowsTheRootIsIgnored",       "leli",                  "le"},
    {"StringsMayHoldAnyByte",             "l3:\xff\n\x01" "e",     "l3:\xff\n\x01" "e"},
    // Refused at the top level.
    {"NothingAtAll",                      "",                      kRefused},
    {"ATopLevelInteger",                  "i5e",                   kRefused},
    {"ATopLevelString",                   "3:abc",                 kRefused},
    {"ATopLevelEnd",                      "e",                     kRefused},
    {"AnErrorInFront",                    "xle",                   kRefused},
    // Input that ends early.
    {"AnOpenList",                        "l",                     kRefused},
    {"AnOpenListWithAnElement",           "l1:a",                  kRefused},
    {"AnOpenDictionary",                  "d1:a1:x",               kRefused},
    {"AnOpenNestedList",                  "ll1:ae",                kRefused},
    {"AKeyWithoutAValue",                 "d1:a",                  kRefused},
    // Dictionaries are strict.
    {"ADuplicateKey",                     "d1:ai1e1:ai2ee",        kRefused},
    {"ADuplicateKeyInFrontOfAPair",       "d1:a1:x1:a1:b1:ce",     kRefused},
    {"ADuplicateKeyNotAdjacent",          "d1:ai1e1:bi2e1:ai3ee",  kRefused},
    {"AnIntegerKey",                      "di1ei2ee",              kRefused},
    {"AListKey",                          "dlei2ee",               kRefused},
    {"ADictionaryKey",                    "ddei2ee",               kRefused},
    {"AnErrorForAKey",                    "dxe",                   kRefused},
    {"AnErrorForALaterKey",               "d1:ai1exe",             kRefused},
    {"AnErrorForAValue",                  "d1:axe",                kRefused},
    {"AnEndForAValue",                    "d1:ae",                 kRefused},
    {"AnErrorAfterANestedContainer",      "d1:alexe",              kRefused},
    {"AnErrorInANestedDictionary",        "lld1:axeee",            kRefused},
    // Lists forgive.
    {"AnErrorAfterAScalarIsSkipped",      "l1:ax1:be",             "l1:a1:be"},
    {"SeveralErrorsAfterAScalarAreSkipped", "l1:axyz1:bzze",       "l1:a1:be"},
    {"AnErrorFirstClosesTheList",         "lx1:ae",                "le"},
    {"AnErrorFirstClosesANestedList",     "llx1:aee",              "lle1:ae"},
    {"AnErrorAfterANestedContainerClosesTheList", "llex1:ae",      "llee"},
    {"AnErrorAfterANestedContainerClosesOnlyThatList", "llleX1:aee", "lllee1:ae"},
    {"AnErrorAfterAScalarAfterANestedContainerIsSkipped", "llei1ex1:ae", "llei1e1:ae"},
    {"ABadLengthAfterAScalarIsSkipped",   "li1e3x1:be",            "li1e1:be"},
    {"ABadLengthFirstClosesTheList",      "l3x1:be",               "le"},
    {"AListClosedByAnErrorInADictionary", "d1:alx1:bi1ee",         "d1:ale1:bi1ee"},
    {"AnErrorFirstAtTheEndClosesTheRoot", "lx",                    "le"},
    {"ADigitAtTheEndClosesTheRoot",       "l5",                    "le"},
    {"ErrorsDoNotCloseAnOpenList",        "l1:axxx",               kRefused},
    // A string longer than the input always fails.
    {"AStringPastTheEnd",                 "l5:abce",               kRefused},
    {"AStringPastTheEndAfterAScalar",     "l1:a5:abce",            kRefused},
    {"AStringPastTheEndInANestedList",    "ll5:abcee",             kRefused},
    {"AStringPastTheEndAsAKey",           "d5:abce",               kRefused},
    {"AStringPastTheEndAsAValue",         "d1:a5:abce",            kRefused},
    {"ALengthThatWraps64Bits",            "l18446744073709551617:ae", kRefused},
    {"ALengthThatWraps32Bits",            "l4294967297:ae",        kRefused},
    // Integers.
    {"AnIntegerWithoutDigits",            "liee",                  "li0ee"},
    {"ALoneSign",                         "li-ee",                 "li0ee"},
    {"LeadingZeros",                      "li007ei-007ee",         "li7ei-7ee"},
    {"TheLargestInteger",                 "li9223372036854775807ee", "li9223372036854775807ee"},
    {"OneBelowTheLargestInteger",         "li9223372036854775806ee", "li9223372036854775806ee"},
    {"OneAboveTheSmallestInteger",        "li-9223372036854775807ee", "li-9223372036854775807ee"},
    {"TheSmallestInteger",                "li-9223372036854775808ee", "li-9223372036854775808ee"},
    {"OneAboveTheLargestSaturates",       "li9223372036854775808ee", "li9223372036854775807ee"},
    {"OneBelowTheSmallestSaturates",      "li-9223372036854775809ee", "li-9223372036854775808ee"},
    {"FarAboveTheLargestSaturates",       "li99999999999999999999ee", "li9223372036854775807ee"},
    {"FarBelowTheSmallestSaturates",      "li-99999999999999999999ee", "li-9223372036854775808ee"},
    {"AColonNearTheEndIsRepaired",        "li42:e",                "li42ee"},
    {"AColonFartherFromItTakesThirteenBytes", "li42:0123456789e1:ae", "li42e1:ae"},
    {"AnIntegerEndedByAnotherToken",      "li421:ae",              "li421ee"},
    // The conversion looks past the token: blanks and a sign are read again as
    // errors, digits as the length of a string.
    {"ABlankInFrontOfTheDigits",          "li 7:1234567e",         "li7e7:1234567e"},
    {"EveryBlankOfTheCLibrary",           "li \t\n\v\f\r7:1234567e", "li7e7:1234567e"},
    {"APlusSign",                         "li+3:abce",             "li3e3:abce"},
    {"BlanksAndAMinusSign",               "li  -3:abce",           "li-3e3:abce"},
    {"TwoSigns",                          "li--3:abce",            "li0e3:abce"},
    {"ASignAndABlank",                    "li- 3:abce",            "li0e3:abce"},
    // It stops at the end of the buffer, where the parse fails anyway.
    {"BlanksUpToTheEnd",                  "li   ",                 kRefused},
    {"ABlankAndDigitsUpToTheEnd",         "li 42",                 kRefused},
    {"DigitsUpToTheEnd",                  "li42",                  kRefused},
    {"NothingUpToTheEnd",                 "li",                    kRefused},
    {"ASignAtTheEnd",                     "li-",                   kRefused},
    {"AColonAtTheEnd",                    "li42:",                 kRefused},
};
// clang-format on

class ParserTest : public testing::TestWithParam<Row> {};

TEST_P(ParserTest, ParsesOrRefuses) {
  const Row& row = GetParam();
  const BencValue value = Parsed(row.input);
  if (row.written == kRefused) {
    EXPECT_EQ(value.GetKind(), BencValue::Kind::None) << Written(value);
  } else {
    EXPECT_EQ(Written(value), row.written);
  }
}

TEST_P(ParserTest, TouchesNothingInFrontOfTheBuffer) {
  GuardedBuffer buffer(GetParam().input, GuardedBuffer::Guard::kInFront);
  BencParser parser(buffer.begin(), buffer.end());
  BencValue value;
  EXPECT_EQ(ParseBencoded(value, parser), GetParam().written != kRefused);
}

INSTANTIATE_TEST_SUITE_P(Inputs, ParserTest, testing::ValuesIn(kRows),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(BencParserTest, IntegersHave64Bits) {
  const BencValue value = Parsed("d1:ai1ee");
  const BencValue* const found = value.Find("a");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetKind(), BencValue::Kind::Int64);
  EXPECT_EQ(found->AsInt(), 1);
}

TEST(BencParserTest, StringsKeepEveryByte) {
  const std::string bytes("a\0b\xff", 4);
  const BencValue value = Parsed("l4:" + bytes + "e");
  ASSERT_EQ(value.Items().size(), 1u);
  EXPECT_EQ(value.Items()[0].AsBytes(), bytes);
}

TEST(BencParserTest, KeysThatAgreeUpToANulAreDuplicates) {
  EXPECT_EQ(Parsed(std::string("d3:a\0bi1e3:a\0ci2ee", 19)).GetKind(), BencValue::Kind::None);
  EXPECT_EQ(Parsed(std::string("d3:a\0bi1e1:ai2ee", 16)).GetKind(), BencValue::Kind::None);
  EXPECT_EQ(Parsed(std::string("d1:\0i1e0:i2ee", 13)).GetKind(), BencValue::Kind::None);
}

TEST(BencParserTest, KeysKeepTheBytesBehindANul) {
  const std::string text("d3:a\0bi1ee", 10);
  const BencValue value = Parsed(text);
  EXPECT_EQ(Written(value), text);
  EXPECT_EQ(value.FindInt("a"), 1);
}

TEST(BencParserTest, KeysAreOrderedAsUnsignedBytes) {
  EXPECT_EQ(Written(Parsed("d1:\x80i1e1:\x7fi2e2:aai3e1:ai4ee")), "d1:ai4e2:aai3e1:\x7fi2e1:\x80i1ee");
}

TEST(BencParserTest, AFailureLeavesNoneWhateverTheTargetHeld) {
  std::string text = "d1:ai1e";
  BencValue target = BencValue::FromString("before");
  BencParser parser(text.data(), text.data() + text.size());
  EXPECT_FALSE(ParseBencoded(target, parser));
  EXPECT_EQ(target.GetKind(), BencValue::Kind::None);
  EXPECT_EQ(target.Find("a"), nullptr);
  EXPECT_EQ(target.FindInt("a"), 0);
}

TEST(BencParserTest, ReplacesWhatTheTargetHeld) {
  std::string text = "le";
  BencValue target = BencValue::MakeDict();
  target.InsertInt("a", 1);
  BencParser parser(text.data(), text.data() + text.size());
  EXPECT_TRUE(ParseBencoded(target, parser));
  EXPECT_EQ(Written(target), "le");
}

TEST(BencParserTest, LeavesTheCursorBehindTheRoot) {
  std::string text = "lede";
  BencParser parser(text.data(), text.data() + text.size());
  BencValue value;
  EXPECT_TRUE(ParseBencoded(value, parser));
  EXPECT_EQ(Written(value), "le");
  EXPECT_TRUE(ParseBencoded(value, parser));
  EXPECT_EQ(Written(value), "de");
  EXPECT_FALSE(ParseBencoded(value, parser));
}

TEST(BencParserTest, AnyPrefixOfAMessageIsRefused) {
  const std::string text = "d6:actioni5e5:filesl3:a/b3:c/de4:lastd1:xlli1eei-2eee4:path4:C:\\xe";
  for (size_t length = 0; length < text.size(); ++length) {
    EXPECT_EQ(Parsed(text.substr(0, length)).GetKind(), BencValue::Kind::None) << length;
  }
  EXPECT_EQ(Written(Parsed(text)), text);
}

// --- Depth ---

constexpr size_t kDepth = 300000;

std::string Repeated(std::string_view piece, size_t times) {
  std::string text;
  text.reserve(piece.size() * times);
  for (size_t i = 0; i < times; ++i) text += piece;
  return text;
}

TEST(BencDepthTest, HundredsOfThousandsOfListsParse) {
  const std::string text = std::string(kDepth, 'l') + std::string(kDepth, 'e');
  EXPECT_EQ(Written(Parsed(text)), text);
}

TEST(BencDepthTest, HundredsOfThousandsOfDictionariesParse) {
  const std::string text = Repeated("d1:a", kDepth) + "i1e" + std::string(kDepth, 'e');
  EXPECT_EQ(Written(Parsed(text)), text);
}

TEST(BencDepthTest, MixedContainersWithSiblingsParse) {
  const std::string text = Repeated("ld1:a0:1:b", kDepth / 2) + "i1e" + Repeated("1:c1:xei2ee", kDepth / 2);
  EXPECT_EQ(Written(Parsed(text)), text);
}

TEST(BencDepthTest, AHalfBuiltTreeIsDestroyedWithoutRecursion) {
  EXPECT_EQ(Parsed(std::string(kDepth, 'l')).GetKind(), BencValue::Kind::None);
  EXPECT_EQ(Parsed(Repeated("d1:a", kDepth)).GetKind(), BencValue::Kind::None);
  EXPECT_EQ(Parsed(Repeated("d1:al", kDepth) + "5:x").GetKind(), BencValue::Kind::None);
}

TEST(BencDepthTest, CopiesAndDumpsWithoutRecursion) {
  const BencValue value = Parsed(Repeated("ld1:a", kDepth) + "i1e" + std::string(2 * kDepth, 'e'));
  const BencValue copy = value;
  EXPECT_EQ(Written(copy), Written(value));
  EXPECT_EQ(test::Dumped(copy).size(), kDepth * (2 + 2 + 5 + 2 + 2) + 1);
}

// --- Other sources of tokens ---

// Plays tokens from a list, as a source that does not know where its bytes end.
class ScriptedParser final : public IBencParser {
 public:
  struct Step {
    BencToken code;
    std::string_view text;
  };
  explicit ScriptedParser(std::vector<Step> steps) : steps_(std::move(steps)) {}

  BencToken NextToken(const char** text, size_t* length) override {
    if (next_ == steps_.size()) return BencToken::TokEndOfInput;
    const Step& step = steps_[next_++];
    *text = step.text.data();
    *length = step.text.size();
    return step.code;
  }

 private:
  std::vector<Step> steps_;
  size_t next_ = 0;
};

TEST(BencParserTest, TakesTokensFromAnySource) {
  using enum BencToken;
  ScriptedParser parser({{TokDictStart, ""}, {TokString, "key"}, {TokInt, "12"}, {TokEnd, ""}});
  BencValue value;
  EXPECT_TRUE(ParseBencoded(value, parser));
  EXPECT_EQ(Written(value), "d3:keyi12ee");
}

TEST(BencParserTest, ConvertsWithinTheTokenWhenTheSourceDoesNotSayWhereItEnds) {
  using enum BencToken;
  GuardedBuffer digits("42");
  ScriptedParser parser({{TokListStart, ""}, {TokInt, digits.View()}, {TokEnd, ""}});
  BencValue value;
  EXPECT_TRUE(ParseBencoded(value, parser));
  EXPECT_EQ(Written(value), "li42ee");
}

}  // namespace
}  // namespace veskard
