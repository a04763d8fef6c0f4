#include <cstdint>

#include "tests/util/string/FormatTesting.h"
#include "util/string/SizeText.h"

namespace veskard {
namespace {

template <class Char>
class FormatSizeTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatSizeTest, test::Widths, test::WidthNames);

struct Row {
  uint64_t bytes;
  const char* plain;      // "%Z"
  const char* alternate;  // "%#Z"
};

constexpr uint64_t Kilo(uint64_t count) {
  return count << 10;
}
constexpr uint64_t Mega(uint64_t count) {
  return count << 20;
}

// clang-format off
constexpr Row kRows[] = {
    {0,                              "0.0 kB",     "0.0 kB"},
    {10,                             "0.0 kB",     "0.0 kB"},     // not a hundredth
    {11,                             "0.0 kB",     "0.01 kB"},
    {100,                            "0.0 kB",     "0.09 kB"},
    {512,                            "0.5 kB",     "0.50 kB"},
    {1023,                           "0.9 kB",     "0.99 kB"},
    {1024,                           "1.0 kB",     "1.00 kB"},
    {Kilo(10) - 1,                   "9.9 kB",     "9.99 kB"},
    {Kilo(10),                       "10.0 kB",    "10.0 kB"},
    {12595,                          "12.2 kB",    "12.2 kB"},    // cut, not rounded
    {Kilo(100) - 1,                  "99.9 kB",    "99.9 kB"},
    {Kilo(100),                      "100.0 kB",   "100 kB"},
    {Mega(1) - 1,                    "1023.9 kB",  "1023 kB"},
    {Mega(1),                        "1.0 MB",     "1.00 MB"},
    {Mega(1024) - 1,                 "1023.9 MB",  "1023 MB"},
    {Mega(1024),                     "1.0 GB",     "1.00 GB"},
    {(uint64_t{1} << 40) - 1,        "1023.9 GB",  "1023 GB"},
    {uint64_t{1} << 40,              "1.0 TB",     "1.00 TB"},
    {(uint64_t{1} << 50) - 1,        "1023.9 TB",  "1023 TB"},
    {uint64_t{1} << 50,              "1.0 PB",     "1.00 PB"},
    // The exabyte begins where a hundred times the count reaches 2^62.
    {46116860184273879,              "40.9 PB",    "40.9 PB"},
    {46116860184273880,              "0.0 EB",     "0.04 EB"},
    {uint64_t{1} << 60,              "1.0 EB",     "1.00 EB"},
    {184467440737095517,             "0.1 EB",     "0.16 EB"},    // 100 times it needs 65 bits
    {UINT64_MAX,                     "15.9 EB",    "15.9 EB"},
};
// clang-format on

TYPED_TEST(FormatSizeTest, PicksTheUnit) {
  for (const Row& row : kRows) {
    EXPECT_EQ(this->Print("%Z", row.bytes), row.plain);
    EXPECT_EQ(this->Print("%#Z", row.bytes), row.alternate);
  }
}

TYPED_TEST(FormatSizeTest, PadsOnTheRight) {
  EXPECT_EQ(this->Print("%10Z|", 1024), "1.0 kB    |");
  EXPECT_EQ(this->Print("%-10Z|", 1024), "1.0 kB    |");
  EXPECT_EQ(this->Print("%3Z|", 1024), "1.0 kB|");
  EXPECT_EQ(this->Print("%#8Z|", 1024), "1.00 kB |");
}

TYPED_TEST(FormatSizeTest, PrintsTransferRates) {
  EXPECT_EQ(this->Print("%Z/s up, %Z/s down", 12595, Mega(3)), "12.2 kB/s up, 3.0 MB/s down");
}

TYPED_TEST(FormatSizeTest, AlwaysTakes64Bits) {
  EXPECT_EQ(this->Print("%Z", uint64_t{1} << 33), "8.0 GB");
  EXPECT_EQ(this->Print("%lZ", uint64_t{1} << 33), "8.0 GB");
  EXPECT_EQ(this->Print("%Z"), "0.0 kB");
}

TYPED_TEST(FormatSizeTest, UnitNamesComeFromWhereTheyWereSetLast) {
  SetSizeUnitNames([](unsigned number) { return number == 3 ? L"kilo" : L"other"; });
  EXPECT_EQ(this->Print("%Z|%Z", Kilo(2), Mega(2)), "2.0 kilo|2.0 other");
  SetSizeUnitNames(nullptr);
  EXPECT_EQ(this->Print("%Z|%Z", Kilo(2), Mega(2)), "2.0 kB|2.0 MB");
}

TEST(SizeTextTest, HundredthsOfExabytesAreExact) {
  EXPECT_EQ(ScaleSize(uint64_t{1} << 60).hundredths, 100u);
  EXPECT_EQ(ScaleSize((uint64_t{1} << 60) - 1).hundredths, 99u);
  EXPECT_EQ(ScaleSize(UINT64_MAX).hundredths, 1599u);
  // 2^60 / 100 is no integer: the hundredth begins one byte later.
  const uint64_t hundredth = (uint64_t{1} << 60) / 100;
  EXPECT_EQ(ScaleSize(5 * hundredth + 5).hundredths, 5u);
  EXPECT_EQ(ScaleSize(5 * hundredth + 3).hundredths, 4u);
}

}  // namespace
}  // namespace veskard
