#include "lang/LineFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace veskard {
namespace {

using namespace std::string_view_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::wstring> Lines(std::wstring_view text) {
  std::vector<std::wstring> lines;
  LineWalker walker(text);
  for (std::wstring_view line; walker.Next(line);) lines.emplace_back(line);
  return lines;
}

TEST(LineWalkerTest, LinesEndWithCarriageReturnLineFeedOrBoth) {
  EXPECT_THAT(Lines(L"one\rtwo\nthree\r\nfour"), ElementsAre(L"one", L"two", L"three", L"four"));
}

TEST(LineWalkerTest, EmptyLinesDoNotCount) {
  EXPECT_THAT(Lines(L"\r\n\r\none\n\n\n\rtwo\r\r"), ElementsAre(L"one", L"two"));
}

TEST(LineWalkerTest, LineOfBlanksCounts) {
  EXPECT_THAT(Lines(L"one\n \ntwo"), ElementsAre(L"one", L" ", L"two"));
}

TEST(LineWalkerTest, TextWithoutLinesHasNone) {
  EXPECT_THAT(Lines(L""), IsEmpty());
  EXPECT_THAT(Lines(L"\r\n\n\r"), IsEmpty());
}

TEST(LineWalkerTest, NulIsACharacterLikeOthers) {
  EXPECT_THAT(Lines(L"a\0b\nc"sv), ElementsAre(L"a\0b"sv, L"c"));
}

TEST(LineWalkerTest, StaysAtTheEnd) {
  LineWalker walker(L"one");
  std::wstring_view line;
  EXPECT_TRUE(walker.Next(line));
  EXPECT_FALSE(walker.Next(line));
  EXPECT_FALSE(walker.Next(line));
  EXPECT_EQ(line, L"one");
}

TEST(UnescapeLineTest, BackslashLettersBecomeLineBreaks) {
  EXPECT_EQ(UnescapeLine(L"one\\r\\n\\r\\ntwo"), L"one\r\n\r\ntwo");
}

TEST(UnescapeLineTest, DoubledBarBecomesOneNulThatCounts) {
  EXPECT_EQ(UnescapeLine(L"Text||*.txt||"), L"Text\0*.txt\0"sv);
  EXPECT_EQ(UnescapeLine(L"||").size(), 1u);
}

TEST(UnescapeLineTest, EverythingElseIsKept) {
  EXPECT_EQ(UnescapeLine(L"a|b \\t \\\" \\N \u00e9 %s"), L"a|b \\t \\\" \\N \u00e9 %s");
}

TEST(UnescapeLineTest, EscapeCutOffAtTheEndIsKept) {
  EXPECT_EQ(UnescapeLine(L"one\\"), L"one\\");
  EXPECT_EQ(UnescapeLine(L"one|"), L"one|");
}

TEST(UnescapeLineTest, ReadsFromLeftToRight) {
  EXPECT_EQ(UnescapeLine(L"|||"), L"\0|"sv);
  EXPECT_EQ(UnescapeLine(L"||||"), L"\0\0"sv);
  EXPECT_EQ(UnescapeLine(L"\\\\n"), L"\\\n");
}

TEST(EscapeLineBreaksTest, WritesLineBreaksAndNothingElse) {
  EXPECT_EQ(EscapeLineBreaks(L"one\r\ntwo\\|\t"), L"one\\r\\ntwo\\|\t");
  EXPECT_EQ(EscapeLineBreaks(L"a\0b"sv), L"a\0b"sv);
}

}  // namespace
}  // namespace veskard
