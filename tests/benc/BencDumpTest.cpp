#include "benc/BencDump.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/BencTesting.h"

namespace veskard {
namespace {

using test::Dumped;
using test::Parsed;

std::string Escaped(std::string_view bytes, uint8_t escapeStyle = 0) {
  ByteBuilder out(64, escapeStyle);
  DumpEscapedString(out, bytes.data(), bytes.size());
  return std::string(out.View());
}

// A dictionary with one string under a key, dumped.
std::string DumpedUnder(const char* key, std::string_view bytes) {
  BencodedDict dict;
  dict.Insert(key, BencValue::FromString(bytes));
  return Dumped(dict);
}

TEST(BencDumpTest, DumpsScalars) {
  EXPECT_EQ(Dumped(BencValue::FromInt32(-7)), "-7");
  EXPECT_EQ(Dumped(BencValue::FromInt64(int64_t{1} << 40)), "1099511627776");
  EXPECT_EQ(Dumped(BencValue::FromBool(true)), "true");
  EXPECT_EQ(Dumped(BencValue::FromBool(false)), "false");
  EXPECT_EQ(Dumped(BencValue::FromString("text")), "\"text\"");
  EXPECT_EQ(Dumped(BencValue()), "");
  EXPECT_EQ(Dumped(BencValue::MakeNull()), "");
}

TEST(BencDumpTest, DumpsContainers) {
  EXPECT_EQ(Dumped(BencValue::MakeList()), "[  ]");
  EXPECT_EQ(Dumped(BencValue::MakeDict()), "{  }");
}

TEST(BencDumpTest, SeparatesElementsAndEntries) {
  EXPECT_EQ(Dumped(Parsed("li1e1:alei2ee")), "[ 1, \"a\", [  ], 2 ]");
  EXPECT_EQ(Dumped(Parsed("d1:bi1e1:ad1:cleee")), "{ \"a\": { \"c\": [  ] }, \"b\": 1 }");
}

TEST(BencDumpTest, SeparatesWhatDumpsAsNothingToo) {
  BencValue list = BencValue::MakeList();
  list.Append(BencValue());
  list.Append(BencValue::MakeNull());
  EXPECT_EQ(Dumped(list), "[ ,  ]");
  BencodedDict dict;
  dict.Insert("a", BencValue());
  EXPECT_EQ(Dumped(dict), "{ \"a\":  }");
}

TEST(BencDumpTest, ShowsIdentifiersInHexadecimalAndHidesSecrets) {
  BencodedDict dict;
  dict.Insert("hash", BencValue::FromString("\x0a\xff"));
  dict.Insert("secret", BencValue::FromString("abc"));
  EXPECT_EQ(Dumped(dict), "{ \"hash\": \"AFFFFFFFF\", \"secret\": \"a***\" }");
}

TEST(BencDumpTest, HexadecimalBytesAreAsWideAsTheyCome) {
  EXPECT_EQ(DumpedUnder("hash", "\x05"), "{ \"hash\": \"5\" }");
  EXPECT_EQ(DumpedUnder("hash", "\xc8"), "{ \"hash\": \"FFFFFFC8\" }");
  EXPECT_EQ(DumpedUnder("hash", std::string_view("\0\x7f", 2)), "{ \"hash\": \"07F\" }");
  EXPECT_EQ(DumpedUnder("hash", ""), "{ \"hash\": \"\" }");
}

class HexKeyTest : public testing::TestWithParam<const char*> {};

TEST_P(HexKeyTest, ShowsItsStringInHexadecimal) {
  EXPECT_EQ(DumpedUnder(GetParam(), "az"), "{ \"" + std::string(GetParam()) + "\": \"617A\" }");
}

INSTANTIATE_TEST_SUITE_P(Keys, HexKeyTest,
                         testing::Values("share", "peer", "tree_hash", "pieces_hash", "hash", "pk", "p",
                                         "sig", "owner", "have_pieces_hash"));

class PlainKeyTest : public testing::TestWithParam<const char*> {};

TEST_P(PlainKeyTest, ShowsItsStringAsText) {
  EXPECT_EQ(DumpedUnder(GetParam(), "az"), "{ \"" + std::string(GetParam()) + "\": \"az\" }");
}

INSTANTIATE_TEST_SUITE_P(Keys, PlainKeyTest,
                         testing::Values("", "path", "Hash", "hashes", "has", "secrets", "SECRET", "owner "));

TEST(BencDumpTest, KeysSelectUpToANul) {
  const std::string text("d6:hash\0x1:ze", 13);
  EXPECT_EQ(Dumped(Parsed(text)), "{ \"hash\\u0000x\": \"7A\" }");
}

TEST(BencDumpTest, ASecretShowsItsFirstCharacterOnly) {
  EXPECT_EQ(DumpedUnder("secret", "abc"), "{ \"secret\": \"a***\" }");
  EXPECT_EQ(DumpedUnder("secret", "a"), "{ \"secret\": \"a***\" }");
  EXPECT_EQ(DumpedUnder("secret", ""), "{ \"secret\": \"***\" }");
}

TEST(BencDumpTest, TheModeServesOnlyAStringDirectlyUnderTheKey) {
  EXPECT_EQ(Dumped(Parsed("d4:hashl1:aee")), "{ \"hash\": [ \"a\" ] }");
  EXPECT_EQ(Dumped(Parsed("d6:secretd1:x1:aee")), "{ \"secret\": { \"x\": \"a\" } }");
  EXPECT_EQ(Dumped(Parsed("d6:secretd4:hash1:aee")), "{ \"secret\": { \"hash\": \"61\" } }");
  EXPECT_EQ(Dumped(Parsed("d4:hashi10ee")), "{ \"hash\": 10 }");
  EXPECT_EQ(Dumped(Parsed("d4:hashi1e4:name1:ae")), "{ \"hash\": 1, \"name\": \"a\" }");
}

TEST(BencDumpTest, TheCallersModeServesARootString) {
  EXPECT_EQ(Dumped(BencValue::FromString("az"), 1), "\"617A\"");
  EXPECT_EQ(Dumped(BencValue::FromString("az"), 2), "\"a***\"");
  EXPECT_EQ(Dumped(Parsed("l1:ae"), 1), "[ \"a\" ]");
}

TEST(BencDumpTest, EscapesControlBytes) {
  EXPECT_EQ(DumpedUnder("k", "a\tb"), "{ \"k\": \"a\\tb\" }");
  EXPECT_EQ(Escaped("\b\t\n\f\r\"\\"), "\"\\b\\t\\n\\f\\r\\\"\\\\\"");
  EXPECT_EQ(Escaped("\x01"), "\"\\u0001\"");
  EXPECT_EQ(Escaped("\x1b"), "\"\\u001b\"");
  EXPECT_EQ(Escaped(std::string_view("\0", 1)), "\"\\u0000\"");
  EXPECT_EQ(Escaped("\x1f \x7f"), "\"\\u001f \x7f\"") << "32 and 127 are copied";
}

TEST(BencDumpTest, BytesFrom128UpAreEscapedAsNegativeNumbers) {
  EXPECT_EQ(Escaped("\xc3\xa4"), "\"\\u00ffffffc3\\u00ffffffa4\"");
  EXPECT_EQ(Escaped("a\x80z"), "\"a\\u00ffffff80z\"");
}

TEST(BencDumpTest, TheOctalStyleHasThreeDigits) {
  EXPECT_EQ(Escaped("\x01\x1b", 1), "\"\\u0001\\u0033\"");
  EXPECT_EQ(Escaped("\xc3", 1), "\"\\u037777777703\"");
  EXPECT_EQ(Escaped("\n", 1), "\"\\n\"");
}

TEST(BencDumpTest, NullAndEmptyStringsAreJustQuotes) {
  ByteBuilder out;
  DumpEscapedString(out, nullptr, 5);
  DumpEscapedString(out, "abc", 0);
  EXPECT_EQ(out.View(), "\"\"\"\"");
}

}  // namespace
}  // namespace veskard
