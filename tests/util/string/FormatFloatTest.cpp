#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>

#include "tests/util/string/FormatTesting.h"

namespace veskard {
namespace {

template <class Char>
class FormatFloatTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatFloatTest, test::Widths, test::WidthNames);

struct Row {
  const char* format;
  double value;
  const char* printed;
};

// clang-format off
constexpr Row kRows[] = {
    {"%f",       0.0,       "0.000000"},
    {"%f",       1.0,       "1.000000"},
    {"%f",       -1.5,      "-1.500000"},
    {"%f",       3.14159265358979, "3.141593"},
    {"%f",       1e-7,      "0.000000"},
    {"%f",       -1e-7,     "-0.000000"},
    {"%f",       -0.0,      "-0.000000"},
    {"%f",       1e15,      "1000000000000000.000000"},
    {"%.0f",     0.0,       "0"},
    {"%.0f",     2.0,       "2"},
    {"%.0f",     123456789.0, "123456789"},
    // To the nearest; exact ties to the even digit.
    {"%.0f",     0.5,       "0"},
    {"%.0f",     1.5,       "2"},
    {"%.0f",     2.5,       "2"},
    {"%.0f",     0.51,      "1"},
    {"%.0f",     9.5,       "10"},
    {"%.0f",     99.5,      "100"},
    {"%.1f",     0.25,      "0.2"},
    {"%.1f",     0.75,      "0.8"},
    {"%.2f",     1.005,     "1.00"},      // the double is a little less
    {"%.2f",     0.125,     "0.12"},
    {"%.2f",     0.375,     "0.38"},
    {"%.2f",     99.995,    "100.00"},    // a little more
    {"%.3f",     0.9996,    "1.000"},
    {"%.1f",     0.04,      "0.0"},
    {"%.1f",     0.06,      "0.1"},
    // All digits of the binary number.
    {"%.25f",    0.1,       "0.1000000000000000055511151"},
    {"%.60f",    0.5,       "0.500000000000000000000000000000000000000000000000000000000000"},
    {"%.0f",     1e22,      "10000000000000000000000"},
    {"%.0f",     1e23,      "99999999999999991611392"},
    // Fields, as for integers; the sign of the space flag is a zero here too.
    {"%8.2f",    3.14159,   "    3.14"},
    {"%-8.2f|",  3.14159,   "3.14    |"},
    {"%08.2f",   -3.14159,  "-0003.14"},
    {"%+.1f",    3.14,      "+3.1"},
    {"% .1f",    3.14,      "03.1"},
    {"%+.1f",    -3.14,     "-3.1"},
    // The prefix and the fixed-point flag mean nothing here.
    {"%#.1f",    3.14,      "3.1"},
    {"%:.1f",    3.14,      "3.1"},
    {"%5.0f|",   7.0,       "    7|"},
    {"%.f",      1.0,       "1.000000"},
};
// clang-format on

TYPED_TEST(FormatFloatTest, PrintsExactDigits) {
  for (const Row& row : kRows) EXPECT_EQ(this->Print(row.format, row.value), row.printed) << row.format;
}

TYPED_TEST(FormatFloatTest, PrintsWhatIsNoNumber) {
  EXPECT_EQ(this->Print("%f %f", INFINITY, -INFINITY), "inf -inf");
  EXPECT_EQ(this->Print("%+f % f", INFINITY, INFINITY), "+inf inf");
  EXPECT_EQ(this->Print("%f %f", NAN, -NAN), "nan nan");
  EXPECT_EQ(this->Print("%6f|%-6f|%06f|", INFINITY, NAN, INFINITY), "   inf|nan   |   inf|");
}

TYPED_TEST(FormatFloatTest, PrintsTheExtremes) {
  EXPECT_EQ(this->Print("%f", DBL_MAX).size(), 309u + 7);
  EXPECT_EQ(this->Print("%.0f", DBL_MAX).substr(0, 20), "17976931348623157081");
  const std::string smallest = this->Print("%.1074f", 4.9406564584124654e-324);
  EXPECT_EQ(smallest.substr(0, 2 + 323 + 5), "0." + std::string(323, '0') + "49406");
  EXPECT_EQ(smallest.substr(smallest.size() - 5), "65625") << "the last digit of 2^-1074";
  EXPECT_EQ(this->Print("%.1200f", 4.9406564584124654e-324), smallest + std::string(126, '0'));
  EXPECT_EQ(this->Print("%f", DBL_MIN), "0.000000");
}

TYPED_TEST(FormatFloatTest, AnIntegerIsConvertedAndAnythingElseIsZero) {
  EXPECT_EQ(this->Print("%.1f %.1f", 5, -7), "5.0 -7.0");
  EXPECT_EQ(this->Print("%.1f", "text"), "0.0");
  EXPECT_EQ(this->Print("%.1f"), "0.0");
  EXPECT_EQ(this->Print("%.2f", 0.5f), "0.50");
}

// The C library of the native flavour prints exact digits too; that of the target
// does not.
#ifndef _WIN32
TEST(FormatFloatPeerTest, AgreesWithTheCLibrary) {
  std::mt19937_64 random(2026);
  char expected[2048];
  for (int i = 0; i < 20000; ++i) {
    const uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof(value));
    if (i % 2 == 0) value = static_cast<double>(static_cast<int64_t>(bits % 2000001) - 1000000) / 64;
    if (!std::isfinite(value)) continue;
    const int precision = static_cast<int>(random() % (i % 10 == 0 ? 1100 : 20));
    std::snprintf(expected, sizeof(expected), "%.*f", precision, value);
    ASSERT_EQ(FormatString("%.*f", precision, value), expected) << precision << " " << value;
  }
}
#endif

}  // namespace
}  // namespace veskard
