#include "benc/BencWriter.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/BencTesting.h"

namespace veskard {
namespace {

using test::Parsed;
using test::Written;

TEST(BencWriterTest, WritesACommand) {
  BencodedDict command;
  command.InsertInt("action", 5);
  command.Insert("path", BencValue::FromString("C:\\x"));
  EXPECT_EQ(Written(command), "d6:actioni5e4:path4:C:\\xe");
}

TEST(BencWriterTest, WritesKeysInAscendingOrder) {
  BencodedDict command;
  command.Insert("path", BencValue::FromString("x"));
  command.InsertInt("action", 5);
  EXPECT_EQ(Written(command), "d6:actioni5e4:path1:xe");
}

TEST(BencWriterTest, WritesIntegersOfEverySize) {
  EXPECT_EQ(Written(BencValue::FromInt32(0)), "i0e");
  EXPECT_EQ(Written(BencValue::FromInt32(std::numeric_limits<int32_t>::min())), "i-2147483648e");
  EXPECT_EQ(Written(BencValue::FromInt64(std::numeric_limits<int64_t>::max())), "i9223372036854775807e");
  EXPECT_EQ(Written(BencValue::FromInt64(std::numeric_limits<int64_t>::min())), "i-9223372036854775808e");
}

TEST(BencWriterTest, WritesIntegersOfEveryLength) {
  for (int64_t power = 1; power < std::numeric_limits<int64_t>::max() / 10; power *= 10) {
    for (const int64_t value : {power - 1, power, power + 1, 9 * power}) {
      EXPECT_EQ(Written(BencValue::FromInt64(value)), "i" + std::to_string(value) + "e");
      EXPECT_EQ(Written(BencValue::FromInt64(-value)), "i" + std::to_string(-value) + "e");
    }
  }
}

TEST(BencWriterTest, WritesBooleansAsIntegers) {
  EXPECT_EQ(Written(BencValue::FromBool(true)), "i1e");
  EXPECT_EQ(Written(BencValue::FromBool(false)), "i0e");
}

TEST(BencWriterTest, WritesStringsByteForByte) {
  EXPECT_EQ(Written(BencValue::FromString("")), "0:");
  EXPECT_EQ(Written(BencValue::FromString(std::string_view("\0\xff", 2))), std::string("2:\0\xff", 4));
}

TEST(BencWriterTest, WritesStringsAndKeysOfEveryLength) {
  std::string text;
  for (size_t length = 0; length <= 70; ++length) {
    const std::string prefix = std::to_string(length) + ":";
    EXPECT_EQ(Written(BencValue::FromString(text)), prefix + text);
    BencodedDict dict;
    dict.InsertInt(text.c_str(), 1);
    EXPECT_EQ(Written(dict), "d" + prefix + text + "i1ee");
    text += static_cast<char>('0' + length);
  }
}

TEST(BencWriterTest, WritesEmptyContainers) {
  EXPECT_EQ(Written(BencValue::MakeList()), "le");
  EXPECT_EQ(Written(BencValue::MakeDict()), "de");
}

TEST(BencWriterTest, NoneAndNullWriteNothing) {
  EXPECT_EQ(Written(BencValue()), "");
  EXPECT_EQ(Written(BencValue::MakeNull()), "");
}

TEST(BencWriterTest, ANullVanishesFromAList) {
  BencValue list = BencValue::MakeList();
  list.Append(BencValue::FromInt32(1));
  list.Append(BencValue::MakeNull());
  list.Append(BencValue());
  list.Append(BencValue::FromInt32(2));
  EXPECT_EQ(Written(list), "li1ei2ee");
}

TEST(BencWriterTest, ANullInADictionaryLeavesItsKey) {
  BencodedDict dict;
  dict.Insert("a", BencValue::MakeNull());
  dict.InsertInt("b", 1);
  dict.Insert("c", BencValue());
  EXPECT_EQ(Written(dict), "d1:a1:bi1e1:ce");
}

TEST(BencWriterTest, WritesTheWholeKeyAlsoBehindANul) {
  const std::string text("d3:a\0bi1ee", 10);
  EXPECT_EQ(Written(Parsed(text)), text);
}

TEST(BencWriterTest, AppendsToWhatIsThere) {
  ByteBuilder out;
  out.Append("> ");
  WriteBencoded(out, BencValue::FromInt32(1));
  WriteBencoded(out, BencValue::FromInt32(2));
  EXPECT_EQ(out.View(), "> i1ei2e");
}

}  // namespace
}  // namespace veskard
