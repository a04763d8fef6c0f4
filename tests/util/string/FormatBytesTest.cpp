#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

#include "benc/BencValue.h"
#include "tests/util/string/FormatTesting.h"

namespace veskard {
namespace {

using test::Own;

template <class Char>
class FormatBytesTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatBytesTest, test::Widths, test::WidthNames);

TYPED_TEST(FormatBytesTest, PrintsRawBytes) {
  const char bytes[] = {'a', '\0', '\xff', 'b'};
  EXPECT_EQ(this->Print("%.4m", static_cast<const void*>(bytes)), std::string_view("a\0\xff"
                                                                                   "b",
                                                                                   4));
  EXPECT_EQ(this->Print("%.*m|", 2, static_cast<const char*>(bytes)), std::string_view("a\0|", 3));
  EXPECT_EQ(this->Print("[%m%.0m]", bytes, bytes), "[]") << "as many as the precision says, and no more";
  EXPECT_EQ(this->Print("[%9.1m]", bytes), "[a]") << "a width pads texts and numbers";
}

TYPED_TEST(FormatBytesTest, PrintsNoRawBytesOfAnythingElse) {
  EXPECT_EQ(this->Print("[%.4m]", nullptr), "[]");
  EXPECT_EQ(this->Print("[%.4m]"), "[]");
  EXPECT_EQ(this->Print("[%.4m]", 123456789), "[]");
  EXPECT_EQ(this->Print("[%.4m]", reinterpret_cast<const void*>(uintptr_t{5})), "[]");
  EXPECT_EQ(this->Print("[%.4m]", L"wide"), "[]");
}

TYPED_TEST(FormatBytesTest, PrintsHashes) {
  const std::unique_ptr<uint8_t[]> hash(new uint8_t[20]);
  for (uint8_t i = 0; i < 20; ++i) hash[i] = static_cast<uint8_t>(i * 13 + 1);
  const void* const pointer = hash.get();
  EXPECT_EQ(this->Print("%h", pointer), "010e1b2835424f5c697683909daab7c4d1deebf8");
  EXPECT_EQ(this->Print("%H", pointer), "010E1B2835424F5C697683909DAAB7C4D1DEEBF8");
  EXPECT_EQ(this->Print("%42h|", pointer), "  010e1b2835424f5c697683909daab7c4d1deebf8|");
}

TYPED_TEST(FormatBytesTest, ANullHashPrintsNothing) {
  EXPECT_EQ(this->Print("[%h%H]", nullptr, nullptr), "[]");
  EXPECT_EQ(this->Print("[%h%H]"), "[]");
  EXPECT_EQ(this->Print("[%h]", 123456789), "[]");
  EXPECT_EQ(this->Print("[%h]", reinterpret_cast<const void*>(uintptr_t{5})), "[]");
}

TYPED_TEST(FormatBytesTest, PrintsByteVectors) {
  const std::vector<uint8_t> bytes = {0x00, 0x0a, 0xff};
  EXPECT_EQ(this->Print("%B", &bytes), "000AFF");
  EXPECT_EQ(this->Print("%8B|%-8B|", &bytes, &bytes), "  000AFF|000AFF  |");
}

TYPED_TEST(FormatBytesTest, PrintsAtMost1024BytesOfAVector) {
  std::vector<uint8_t> bytes(1024, 0xAB);
  EXPECT_EQ(this->Print("%B", &bytes).size(), 2048u);
  bytes.push_back(0xCD);
  const std::string printed = this->Print("%B|", &bytes);
  EXPECT_EQ(printed.size(), 2049u);
  EXPECT_EQ(printed.substr(2044), "ABAB|");
}

TYPED_TEST(FormatBytesTest, NoVectorAndAnEmptyOnePrintNothing) {
  const std::vector<uint8_t> empty;
  EXPECT_EQ(this->Print("[%B]", &empty), "[]");
  EXPECT_EQ(this->Print("[%B]", static_cast<const std::vector<uint8_t>*>(nullptr)), "[]");
  EXPECT_EQ(this->Print("[%B%B%B]", nullptr, 5, "text"), "[]");
  EXPECT_EQ(this->Print("[%B]", reinterpret_cast<const std::vector<uint8_t>*>(uintptr_t{5})), "[]");
  EXPECT_EQ(this->Print("[%B]"), "[]");
}

TYPED_TEST(FormatBytesTest, DumpsDictionaries) {
  BencodedDict dict;
  dict.InsertInt("action", 5);
  dict.Insert("secret", BencValue::FromString("abc"));
  const BencValue* const value = &dict;
  EXPECT_EQ(this->Print("%D", value), "{ \"action\": 5, \"secret\": \"a***\" }");
  EXPECT_EQ(this->Print("%D", &dict), "{ \"action\": 5, \"secret\": \"a***\" }");
  EXPECT_EQ(this->Print("%.10D|", value), "{ \"action\"|");
  EXPECT_EQ(this->Print("%37D|", value), "    { \"action\": 5, \"secret\": \"a***\" }|");
}

TYPED_TEST(FormatBytesTest, ADumpIsAStringAndEndsAtANul) {
  BencodedDict dict;
  dict.Insert("secret", BencValue::FromString(std::string_view("\0x", 2)));
  EXPECT_EQ(this->Print("%D|", &dict), "{ \"secret\": \"|");
}

TYPED_TEST(FormatBytesTest, WhatIsNoDictionaryIsInvalid) {
  const BencValue list = BencValue::MakeList();
  const BencValue none;
  EXPECT_EQ(this->Print("%D %D", &list, &none), "invalid invalid");
  EXPECT_EQ(this->Print("%9D|", &list), "  invalid|");
  EXPECT_EQ(this->Print("%5.3D|", &list), "  inv|");
  EXPECT_EQ(this->Print("%D", reinterpret_cast<const BencValue*>(uintptr_t{5})), "invalid");
  EXPECT_EQ(this->Print("%D", 5), "invalid");
  EXPECT_EQ(this->Print("%D", "text"), "invalid");
}

// A type of a test's own, with and without a dump.
struct Note {
  std::string text;
};
FormatDump DumpOf(const Note* note) noexcept {
  return {note, [](const void* value) { return static_cast<const Note*>(value)->text; }};
}
struct Dumpless {};

TYPED_TEST(FormatBytesTest, AnyTypeMayBringItsDump) {
  const Note note{"a note"};
  const Note silent;
  EXPECT_EQ(this->Print("%D|%8D|%.1D", &note, &note, &note), "a note|  a note|a");
  EXPECT_EQ(this->Print("%D", &silent), "invalid");
  EXPECT_EQ(this->Print("[%D]", static_cast<const Note*>(nullptr)), "[]");
}

static_assert(std::is_constructible_v<FormatArg, const Note*>);
static_assert(std::is_constructible_v<FormatArg, BencodedDict*>);
static_assert(!std::is_constructible_v<FormatArg, const Dumpless*>, "its dump may lie in a missing header");

TYPED_TEST(FormatBytesTest, ANullDictionaryPrintsNothing) {
  EXPECT_EQ(this->Print("[%D]", static_cast<const BencValue*>(nullptr)), "[]");
  EXPECT_EQ(this->Print("[%D]", nullptr), "[]");
  EXPECT_EQ(this->Print("[%D]"), "[]");
}

}  // namespace
}  // namespace veskard
