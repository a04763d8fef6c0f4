#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "benc/BencParser.h"
#include "tests/support/GuardedBuffer.h"

namespace veskard {

void PrintTo(BencToken token, std::ostream* out) {
  *out << "token " << static_cast<int>(token);
}

namespace {

using enum BencToken;
using test::GuardedBuffer;

struct Token {
  BencToken code;
  std::string text;  // of integers and strings

  bool operator==(const Token&) const = default;
};

void PrintTo(const Token& token, std::ostream* out) {
  *out << "{" << static_cast<int>(token.code) << ", \"" << token.text << "\"}";
}

struct Row {
  const char* input;
  std::vector<Token> tokens;
  const char* bufferAfter = nullptr;  // when the tokenizer repaired it
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.input;
}

// All tokens up to the end of the input, or up to the first error behind which
// there are only errors.
std::vector<Token> TokensOf(GuardedBuffer& buffer) {
  BencParser parser(buffer.begin(), buffer.end());
  std::vector<Token> tokens;
  for (;;) {
    const char* text = nullptr;
    size_t length = 0;
    const BencToken code = parser.NextToken(&text, &length);
    if (code == TokInt || code == TokString) {
      tokens.push_back({code, std::string(text, length)});
    } else {
      tokens.push_back({code, ""});
    }
    if (code == TokEndOfInput || (code == TokError && length > 0)) return tokens;
  }
}

// clang-format off
const Row kRows[] = {
    {"",            {{TokEndOfInput, ""}}},
    {"l",           {{TokListStart, ""}, {TokEndOfInput, ""}}},
    {"d",           {{TokDictStart, ""}, {TokEndOfInput, ""}}},
    {"e",           {{TokEnd, ""}, {TokEndOfInput, ""}}},
    {"lde",         {{TokListStart, ""}, {TokDictStart, ""}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    {"x",           {{TokError, ""}, {TokEndOfInput, ""}}},
    {":e",          {{TokError, ""}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    // Strings.
    {"0:",          {{TokString, ""}, {TokEndOfInput, ""}}},
    {"3:abc",       {{TokString, "abc"}, {TokEndOfInput, ""}}},
    {"3:abce",      {{TokString, "abc"}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    {"05:abcde",    {{TokString, "abcde"}, {TokEndOfInput, ""}}},
    {"000:e",       {{TokString, ""}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    {"10:0123456789", {{TokString, "0123456789"}, {TokEndOfInput, ""}}},
    {"3",           {{TokError, ""}, {TokEndOfInput, ""}}},
    {"33333",       {{TokError, ""}, {TokEndOfInput, ""}}},
    {"3x1:a",       {{TokError, ""}, {TokString, "a"}, {TokEndOfInput, ""}}},
    {"3-1:a",       {{TokError, ""}, {TokString, "a"}, {TokEndOfInput, ""}}},
    {"4:abc",       {{TokError, ""}}},
    {"1:",          {{TokError, ""}}},
    // 2^64 + 3 and 2^32 + 3 would be 3 in arithmetic that wraps.
    {"18446744073709551619:abc", {{TokError, ""}}},
    {"4294967299:abc",           {{TokError, ""}}},
    {"99999999999999999999999999999999:abc", {{TokError, ""}}},
    // Integers.
    {"i1e",         {{TokInt, "1"}, {TokEndOfInput, ""}}},
    {"i-12ee",      {{TokInt, "-12"}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    {"i007e",       {{TokInt, "007"}, {TokEndOfInput, ""}}},
    {"ie",          {{TokInt, ""}, {TokEndOfInput, ""}}},
    {"i-e",         {{TokInt, "-"}, {TokEndOfInput, ""}}},
    {"i",           {{TokInt, ""}, {TokEndOfInput, ""}}},
    {"i-",          {{TokInt, "-"}, {TokEndOfInput, ""}}},
    {"i42",         {{TokInt, "42"}, {TokEndOfInput, ""}}},
    {"i42l",        {{TokInt, "42"}, {TokListStart, ""}, {TokEndOfInput, ""}}},
    {"i42x",        {{TokInt, "42"}, {TokError, ""}, {TokEndOfInput, ""}}},
    {"i--1e",       {{TokInt, "-"}, {TokError, ""}, {TokError, ""}, {TokEndOfInput, ""}}},
    {"i+1e",        {{TokInt, ""}, {TokError, ""}, {TokError, ""}, {TokEndOfInput, ""}}},
    {"i 1:ae",      {{TokInt, ""}, {TokError, ""}, {TokString, "a"}, {TokEnd, ""}, {TokEndOfInput, ""}}},
    // A ":" ends an integer: near the end of the input it becomes an "e" itself.
    {"i42:e",       {{TokInt, "42"}, {TokEnd, ""}, {TokEndOfInput, ""}}, "i42ee"},
    {"i:",          {{TokInt, ""}, {TokEndOfInput, ""}}, "ie"},
    {"i-:",         {{TokInt, "-"}, {TokEndOfInput, ""}}, "i-e"},
    {"i123:abcdefghi",   {{TokInt, "123"}, {TokError, ""}, {TokError, ""}, {TokError, ""}, {TokDictStart, ""},
                          {TokEnd, ""}, {TokError, ""}, {TokError, ""}, {TokError, ""}, {TokInt, ""},
                          {TokEndOfInput, ""}}, "i123eabcdefghi"},
    // Farther from it, the byte 13 places after the start does, whatever it was.
    {"i123:abcdefghiX",  {{TokInt, "123:abcdefghi"}, {TokEndOfInput, ""}}, "i123:abcdefghie"},
    {"i123:abcdefghiXl", {{TokInt, "123:abcdefghi"}, {TokListStart, ""}, {TokEndOfInput, ""}}, "i123:abcdefghiel"},
    {"i1234567890123:",  {{TokInt, "1234567890123"}, {TokEndOfInput, ""}}, "i1234567890123e"},
    // More than 13 digits: the place lies in front of the ":", among the digits.
    {"i12345678901234:", {{TokInt, "1234567890123"}, {TokError, ""}, {TokEndOfInput, ""}}, "i1234567890123e:"},
};
// clang-format on

class TokenizerTest : public testing::TestWithParam<Row> {};

TEST_P(TokenizerTest, CutsTheInputIntoTokens) {
  GuardedBuffer buffer(GetParam().input);
  EXPECT_EQ(TokensOf(buffer), GetParam().tokens);
  const char* expected = GetParam().bufferAfter;
  EXPECT_EQ(buffer.View(), expected == nullptr ? GetParam().input : expected);
}

TEST_P(TokenizerTest, TouchesNothingInFrontOfTheBuffer) {
  GuardedBuffer buffer(GetParam().input, GuardedBuffer::Guard::kInFront);
  EXPECT_EQ(TokensOf(buffer), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(Inputs, TokenizerTest, testing::ValuesIn(kRows));

TEST(TokenizerTest, BehindAStringThatRunsPastTheEndThereAreOnlyErrors) {
  GuardedBuffer buffer("9:abc");
  BencParser parser(buffer.begin(), buffer.end());
  const char* text = nullptr;
  size_t length = 0;
  EXPECT_EQ(parser.NextToken(&text, &length), TokError);
  EXPECT_EQ(length, 9u);
  const char* const before = text;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(parser.NextToken(&text, &length), TokError);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(text, before) << "the text output is left as it was";
  }
}

TEST(TokenizerTest, TheTextOfAStartOrAnEndLiesBehindIt) {
  for (const auto& [input, token] :
       {std::pair("li", TokListStart), std::pair("di", TokDictStart), std::pair("ei", TokEnd)}) {
    GuardedBuffer buffer(input);
    BencParser parser(buffer.begin(), buffer.end());
    const char* text = nullptr;
    size_t length = 7;
    EXPECT_EQ(parser.NextToken(&text, &length), token);
    EXPECT_EQ(text, buffer.begin() + 1) << input;
    EXPECT_EQ(length, 0u) << input;
  }
}

TEST(TokenizerTest, EndOfInputStays) {
  BencParser parser(nullptr, nullptr);
  const char* text = nullptr;
  size_t length = 1;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(parser.NextToken(&text, &length), TokEndOfInput);
    EXPECT_EQ(length, 0u);
  }
}

TEST(TokenizerTest, BeyondTheEndThereAreOnlyErrors) {
  GuardedBuffer buffer("i1e1:a");
  const std::string before(buffer.View());
  for (const std::ptrdiff_t beyond : {1, 3, 6}) {
    BencParser parser(buffer.end(), buffer.end() - beyond);
    const char* const untouched = buffer.begin();
    const char* text = untouched;
    for (int i = 0; i < 3; ++i) {
      size_t length = 7;
      EXPECT_EQ(parser.NextToken(&text, &length), TokError) << beyond;
      EXPECT_EQ(length, 0u) << beyond;
      EXPECT_EQ(text, untouched) << "the text output is left as it was";
    }
    BencValue value = BencValue::FromInt32(1);
    EXPECT_FALSE(ParseBencoded(value, parser)) << beyond;
    EXPECT_EQ(value.GetKind(), BencValue::Kind::None) << beyond;
  }
  EXPECT_EQ(buffer.View(), before);
}

}  // namespace
}  // namespace veskard
