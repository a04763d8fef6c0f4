#include <climits>
#include <cstdint>

#include "core/StdAfx.h"
#include "tests/util/string/FormatTesting.h"
#include "util/string/FormatOutput.h"
#include "util/string/NumberField.h"

namespace veskard {
namespace {

using test::Own;

template <class Char>
class FormatIntegerTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatIntegerTest, test::Widths, test::WidthNames);

struct Row {
  const char* format;
  int64_t value;
  const char* printed;
};

// clang-format off
constexpr Row kConversions[] = {
    {"%d",  0,           "0"},
    {"%d",  42,          "42"},
    {"%d",  -42,         "-42"},
    {"%i",  -42,         "-42"},
    {"%d",  INT32_MIN,   "-2147483648"},
    {"%d",  INT32_MAX,   "2147483647"},
    {"%u",  42,          "42"},
    {"%u",  -1,          "4294967295"},
    {"%x",  255,         "ff"},
    {"%X",  255,         "FF"},
    {"%x",  -1,          "ffffffff"},
    {"%o",  8,           "10"},
    {"%o",  -1,          "37777777777"},
    {"%b",  10,          "1010"},
    {"%b",  -1,          "11111111111111111111111111111111"},
    {"%x",  0,           "0"},
    {"%o",  0,           "0"},
    {"%b",  0,           "0"},
};

constexpr Row kLengths[] = {
    // Without "L" an argument counts in its low 32 bits; "l" changes nothing.
    {"%Ld", INT64_MAX,              "9223372036854775807"},
    {"%d",  INT64_MAX,              "-1"},
    {"%ld", INT64_MAX,              "-1"},
    {"%Ld", INT64_MIN,              "-9223372036854775808"},
    {"%Li", -5,                     "-5"},
    {"%d",  int64_t{1} << 32 | 7,   "7"},
    {"%ld", int64_t{1} << 32 | 7,   "7"},
    {"%Ld", int64_t{1} << 32,       "4294967296"},
    {"%Lu", -1,                     "18446744073709551615"},
    {"%lu", -1,                     "4294967295"},
    {"%Lx", -1,                     "ffffffffffffffff"},
    {"%LX", 0x1234567890ABCDEF,     "1234567890ABCDEF"},
    {"%Lo", -1,                     "1777777777777777777777"},
    {"%Lb", -1,                     "1111111111111111111111111111111111111111111111111111111111111111"},
    // Sizes and differences always have 64 bits.
    {"%z",  int64_t{1} << 40,       "1099511627776"},
    {"%t",  -1,                     "18446744073709551615"},
    {"%lz", int64_t{1} << 40,       "1099511627776"},
};

constexpr Row kWidthsAndFlags[] = {
    {"%5d",     42,    "   42"},
    {"%-5d|",   42,    "42   |"},
    {"%05d",    -42,   "-0042"},
    {"%5d",     -42,   "  -42"},
    {"%-5d|",   -42,   "-42  |"},
    {"%1d",     42,    "42"},
    {"%2d",     42,    "42"},
    {"%+d",     42,    "+42"},
    {"%+d",     -42,   "-42"},
    {"%+d",     0,     "+0"},
    {"%+5d",    42,    "  +42"},
    {"%+05d",   42,    "+0042"},
    // The space flag's sign is a zero.
    {"% d",     7,     "07"},
    {"% d",     -7,    "-7"},
    {"% 5d",    7,     "   07"},
    {"%-+5d|",  7,     "+7   |"},
    {"% +d",    7,     "+7"},
    {"%+ d",    7,     "+7"},
    // Signs belong to the signed conversions.
    {"%+u",     7,     "7"},
    {"% x",     7,     "7"},
    // The prefix ignores the base.
    {"%#x",     255,   "0xff"},
    {"%#X",     255,   "0xFF"},
    {"%#d",     10,    "0x10"},
    {"%#d",     -10,   "-0x10"},
    {"%#o",     8,     "0x10"},
    {"%#b",     2,     "0x10"},
    {"%#x",     0,     "0x0"},
    {"%#6x",    255,   "  0xff"},
    {"%#-6x|",  255,   "0xff  |"},
    {"%#06x",   255,   "0x00ff"},
    {"%+#07d",  10,    "+0x0010"},
    // Any number of flags, in any order.
    {"%--5d|",  42,    "42   |"},
    {"%0+5d",   42,    "+0042"},
    {"%+0#8x",  255,   "0x0000ff"},
    // Left-justify and zero-pad together: each pads on its own.
    {"%-05d|",  42,    "00042   |"},
    {"%0-5d|",  -42,   "-0042  |"},
    {"%-02d|",  42,    "42|"},
    // A width of no digits, and one that begins with a flag.
    {"%00005d", 42,    "00042"},
};

constexpr Row kPrecisions[] = {
    {"%.3d",    5,     "005"},
    {"%.3d",    -5,    "-005"},
    {"%.3d",    12345, "12345"},
    {"%.0d",    0,     "0"},
    {"%.d",     5,     "5"},
    {"%.4x",    255,   "00ff"},
    {"%#.4x",   255,   "0x00ff"},
    {"%6.3d",   5,     "   005"},
    {"%-6.3d|", 5,     "005   |"},
    {"%06.3d",  5,     "000005"},
    {"%+6.3d",  5,     "  +005"},
    {"%.70b",   1,     "0000000000000000000000000000000000000000000000000000000000000000000001"},
};

constexpr Row kFixedPoint[] = {
    {"%:.2d",    1234,   "12.34"},
    {"%:.3d",    12345,  "12.345"},
    {"%:.3d",    5,      "0.005"},
    {"%:.3d",    0,      "0.000"},
    {"%:.3d",    123,    "0.123"},
    {"%:.3d",    1000,   "1.000"},
    {"%:.3d",    -5,     "-0.005"},
    {"%:.1d",    9,      "0.9"},
    // A precision of 0 leaves the point behind the number; none leaves it out.
    {"%:.0d",    5,      "5."},
    {"%:d",      5,      "5"},
    {"%:.d",     5,      "5"},
    {"%:8.3d",   12345,  "  12.345"},
    {"%:-8.3d|", 12345,  "12.345  |"},
    {"%:08.3d",  5,      "0000.005"},
    {"%+:.2d",   1234,   "+12.34"},
    {"%:.2x",    0x1234, "12.34"},
    {"%:.2u",    -1,     "42949672.95"},
    {"%:.30d",   7,      "0.000000000000000000000000000007"},
};
// clang-format on

#define EXPECT_ROWS(rows) \
  for (const Row& row : rows) EXPECT_EQ(this->Print(row.format, row.value), row.printed) << row.format

TYPED_TEST(FormatIntegerTest, HasAConversionForEveryBase) {
  EXPECT_ROWS(kConversions);
}
TYPED_TEST(FormatIntegerTest, TakesThe64BitsOnlyWhenAsked) {
  EXPECT_ROWS(kLengths);
}
TYPED_TEST(FormatIntegerTest, PadsSignsAndPrefixes) {
  EXPECT_ROWS(kWidthsAndFlags);
}
TYPED_TEST(FormatIntegerTest, ExtendsDigitsToThePrecision) {
  EXPECT_ROWS(kPrecisions);
}
TYPED_TEST(FormatIntegerTest, PlacesAPointWithTheFixedPointFlag) {
  EXPECT_ROWS(kFixedPoint);
}

TYPED_TEST(FormatIntegerTest, TakesArgumentsOfEveryIntegerType) {
  enum class Color : uint8_t { kRed = 3 };
  EXPECT_EQ(this->Print("%d %d %d %d", int8_t{-1}, int16_t{-2}, int32_t{-3}, int64_t{-4}), "-1 -2 -3 -4");
  EXPECT_EQ(this->Print("%d %d", uint8_t{255}, uint16_t{65535}), "255 65535");
  EXPECT_EQ(this->Print("%Ld", uint32_t{4294967295}), "4294967295");
  EXPECT_EQ(this->Print("%d %d %d", true, 'A', Color::kRed), "1 65 3");
}

TYPED_TEST(FormatIntegerTest, TakesTheWidthFromAnArgument) {
  EXPECT_EQ(this->Print("%*d", 5, 42), "   42");
  EXPECT_EQ(this->Print("%-*d|", 5, 42), "42   |");
  EXPECT_EQ(this->Print("%*d|", -5, 42), "42   |") << "a negative one justifies to the left";
  EXPECT_EQ(this->Print("%0*d", 5, 42), "00042");
  EXPECT_EQ(this->Print("%*d", 0, 42), "42");
  EXPECT_EQ(this->Print("%*d", int64_t{1} << 32 | 5, 42), "   42") << "32 bits of it";
}

TYPED_TEST(FormatIntegerTest, TakesThePrecisionFromAnArgument) {
  EXPECT_EQ(this->Print("%.*d", 4, 42), "0042");
  EXPECT_EQ(this->Print("%.*d", -4, 42), "42") << "a negative one counts as 0";
  EXPECT_EQ(this->Print("%:.*d", -4, 42), "42.");
  EXPECT_EQ(this->Print("%*.*d|", -8, 4, 42), "0042    |");
}

TYPED_TEST(FormatIntegerTest, WidthsBeyond32BitsCountAsTheLargest) {
  TypeParam buffer[8];
  const auto format = test::InWidth<TypeParam>("%99999999999999999999d|%.99999999999d");
  EXPECT_EQ(FormatBuffer(buffer, 8, format.c_str(), 1, 2), 7u);
  EXPECT_EQ(this->Narrowed(buffer), "       ");
  const auto star = test::InWidth<TypeParam>("%*d");
  EXPECT_EQ(FormatBuffer(buffer, 8, star.c_str(), INT32_MIN, 1), 7u);
  EXPECT_EQ(this->Narrowed(buffer), "1      ");
}

TYPED_TEST(FormatIntegerTest, PrintsPointersInSixteenDigits) {
  const auto* const pointer = reinterpret_cast<const void*>(uintptr_t{0x1234ABCD});
  EXPECT_EQ(this->Print("%p", pointer), "0x000000001234abcd");
  EXPECT_EQ(this->Print("%p", nullptr), "0x0000000000000000");
  EXPECT_EQ(this->Print("%.4p", pointer), "0x1234abcd");
  EXPECT_EQ(this->Print("%#.2p", nullptr), "0x00");
  EXPECT_EQ(this->Print("%20p|", pointer), "  0x000000001234abcd|");
  EXPECT_EQ(this->Print("%p", 255), "0x00000000000000ff") << "an integer is as good";
}

// What a format without its arguments, or with others, prints.
TYPED_TEST(FormatIntegerTest, AMissingIntegerIsZero) {
  EXPECT_EQ(this->Print("%d %x %Lu %z"), "0 0 0 0");
  EXPECT_EQ(this->Print("%d %d", 1), "1 0");
  EXPECT_EQ(this->Print("%*d"), "0");
  EXPECT_EQ(this->Print("%.*d"), "0");
  EXPECT_EQ(this->Print("%p"), "0x0000000000000000");
}

TYPED_TEST(FormatIntegerTest, APointerPrintsItsAddressAndADoubleZero) {
  EXPECT_EQ(this->Print("%x", reinterpret_cast<const char*>(uintptr_t{0xABC})), "abc");
  EXPECT_EQ(this->Print("%d", nullptr), "0");
  EXPECT_EQ(this->Print("%d", 7.5), "0");
  EXPECT_EQ(this->Print("%*d", 7.5, 1), "1");
}

// --- The emitter itself ---

// A sink for text of the run's own width.
template <class Char>
struct TextSink : FormatSink {
  TextSink() : FormatSink{&Append, nullptr, 0, 79} {}
  static void Append(FormatSink& sink, const void* characters, size_t count) {
    static_cast<TextSink&>(sink).text.append(static_cast<const Char*>(characters), count);
  }

  std::basic_string<Char> text;
};

template <class Char>
std::basic_string<Char> Emitted(uint64_t magnitude, unsigned base, const char* digits = kLowerDigits) {
  TextSink<Char> sink;
  FormatOutput<Char> out(sink);
  EmitInteger(out, FormatSpec(), magnitude, '\0', base, digits);
  return sink.text;
}

TYPED_TEST(FormatIntegerTest, TheEmitterKnowsBases2To36) {
  const auto widen = [](const char* text) { return test::InWidth<TypeParam>(text); };
  EXPECT_EQ(Emitted<TypeParam>(35, 36), widen("z"));
  EXPECT_EQ(Emitted<TypeParam>(35, 36, kUpperDigits), widen("Z"));
  EXPECT_EQ(Emitted<TypeParam>(UINT64_MAX, 36), widen("3w5e11264sgsf"));
  EXPECT_EQ(Emitted<TypeParam>(5, 3), widen("12"));
  EXPECT_EQ(Emitted<TypeParam>(5, 2), widen("101"));
}

TYPED_TEST(FormatIntegerTest, TheEmitterPrintsNothingInOtherBases) {
  for (const unsigned base : {0u, 1u, 37u, 1000u}) EXPECT_TRUE(Emitted<TypeParam>(5, base).empty()) << base;
}

#if GTEST_HAS_DEATH_TEST
TYPED_TEST(FormatIntegerTest, ANegativePadCountStopsTheProcess) {
  TextSink<TypeParam> sink;
  FormatOutput<TypeParam> out(sink);
  EXPECT_DEATH(out.Pad(' ', -1), "\nassert failed util\\\\string\\\\strfmt:.+34013186\\)\r?\n");
}
#endif

}  // namespace
}  // namespace veskard
