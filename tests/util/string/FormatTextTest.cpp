#include <cstdint>
#include <memory>

#include "tests/util/string/FormatTesting.h"

namespace veskard {
namespace {

using test::Other;
using test::Own;

template <class Char>
class FormatTextTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatTextTest, test::Widths, test::WidthNames);

TYPED_TEST(FormatTextTest, CopiesLiterals) {
  EXPECT_EQ(this->Print(""), "");
  EXPECT_EQ(this->Print("plain text"), "plain text");
  EXPECT_EQ(this->Print("\xe4\xff"), "\xe4\xff");
}

TYPED_TEST(FormatTextTest, PrintsAPercentSign) {
  EXPECT_EQ(this->Print("100%%"), "100%");
  EXPECT_EQ(this->Print("%%d"), "%d");
  EXPECT_EQ(this->Print("%5.3l%|"), "%|") << "whatever stands between";
}

TYPED_TEST(FormatTextTest, AFormatMayEndInsideASpec) {
  EXPECT_EQ(this->Print("abc%"), "abc");
  EXPECT_EQ(this->Print("abc%-08.3l", 5), "abc");
  EXPECT_EQ(this->Print("abc%*", 5), "abc");
  EXPECT_EQ(this->Print("abc%.*", 5), "abc");
  EXPECT_EQ(this->Print("abc%.", 5), "abc");
}

TYPED_TEST(FormatTextTest, AnUnknownConversionPrintsNothingAndTakesNothing) {
  EXPECT_EQ(this->Print("a%kb%d", 7), "ab7");
  EXPECT_EQ(this->Print("%q%j%w%y|%d", 7), "|7");
  EXPECT_EQ(this->Print("%5.2Lk|%d", 7), "|7");
  EXPECT_EQ(this->Print("%n|%d", 7), "|7");
  EXPECT_EQ(this->Print("%\xe4|%d", 7), "|7");
}

TYPED_TEST(FormatTextTest, OnlyOneLengthLetterIsRead) {
  EXPECT_EQ(this->Print("%lld", 7), "d") << "the second l is the conversion, an unknown one";
  EXPECT_EQ(this->Print("%lLd|%d", 7), "d|7");
}

TYPED_TEST(FormatTextTest, PrintsStringsOfItsOwnWidth) {
  EXPECT_EQ(this->Print("%s", Own{"text"}), "text");
  EXPECT_EQ(this->Print("[%s]", Own{""}), "[]");
  EXPECT_EQ(this->Print("%s\\%s", Own{"C:\\a"}, Own{"b"}), "C:\\a\\b");
  EXPECT_EQ(this->Print("%s", Own{"100% \xe4"}), "100% \xe4") << "not a format";
  EXPECT_EQ(this->Print("%s", std::basic_string<TypeParam>(3, TypeParam('x'))), "xxx");
}

TYPED_TEST(FormatTextTest, PrintsStringsOfTheOtherWidth) {
  EXPECT_EQ(this->Print("%S", Other{"text"}), "text");
  EXPECT_EQ(this->Print("%S", Other{"\xe4\xff"}), "\xe4\xff") << "unit by unit";
  EXPECT_EQ(this->Print("%s %S %s", Own{"a"}, Other{"b"}, Own{"c"}), "a b c");
}

TEST(FormatWidthTest, AWideUnitKeepsItsLowByteInANarrowRun) {
  EXPECT_EQ(FormatString("%S", L"a\u20ac\u0141b"),
            "a\xac\x41"
            "b");
}

TEST(FormatWidthTest, AByteBecomesOneUnitInAWideRun) {
  EXPECT_EQ(FormatString(L"%S", "\xc3\xa4\xff"), L"\u00c3\u00a4\u00ff");
}

TEST(FormatWidthTest, AWideRunKeepsWideUnits) {
  EXPECT_EQ(FormatString(L"\u20ac %s", L"\u0141"), L"\u20ac \u0141");
}

TYPED_TEST(FormatTextTest, APrecisionLimitsAString) {
  EXPECT_EQ(this->Print("%.3s", Own{"abcdef"}), "abc");
  EXPECT_EQ(this->Print("%.3S", Other{"abcdef"}), "abc");
  EXPECT_EQ(this->Print("%.9s", Own{"abc"}), "abc");
  EXPECT_EQ(this->Print("[%.0s]", Own{"abc"}), "[]");
  EXPECT_EQ(this->Print("%.s", Own{"abc"}), "abc") << "no precision at all";
  EXPECT_EQ(this->Print("%.*s", 2, Own{"abc"}), "ab");
  EXPECT_EQ(this->Print("[%.*s]", -2, Own{"abc"}), "[]");
}

TYPED_TEST(FormatTextTest, AStringUnderAPrecisionNeedsNoTerminator) {
  const std::unique_ptr<TypeParam[]> own(new TypeParam[2]{TypeParam('a'), TypeParam('b')});
  EXPECT_EQ(this->Print("%.2s", static_cast<const TypeParam*>(own.get())), "ab");
  const std::unique_ptr<test::OtherWidth<TypeParam>[]> other(new test::OtherWidth<TypeParam>[2] { 'a', 'b' });
  EXPECT_EQ(this->Print("%.2S", static_cast<const test::OtherWidth<TypeParam>*>(other.get())), "ab");
}

TYPED_TEST(FormatTextTest, AWidthPadsTexts) {
  EXPECT_EQ(this->Print("%5s|", Own{"ab"}), "   ab|");
  EXPECT_EQ(this->Print("%-5s|", Own{"ab"}), "ab   |");
  EXPECT_EQ(this->Print("%5S|", Other{"ab"}), "   ab|");
  EXPECT_EQ(this->Print("%-5.1s|", Own{"ab"}), "a    |");
  EXPECT_EQ(this->Print("%1s|", Own{"ab"}), "ab|");
  EXPECT_EQ(this->Print("%05s|", Own{"ab"}), "   ab|") << "texts are padded with blanks";
  EXPECT_EQ(this->Print("%8s|%-8s|", nullptr, 5), "  <NULL>|<ERROR> |");
}

TYPED_TEST(FormatTextTest, NullAndImplausiblePointersPrintAMark) {
  const auto own = [](uintptr_t address) { return reinterpret_cast<const TypeParam*>(address); };
  EXPECT_EQ(this->Print("%s", own(0)), "<NULL>");
  EXPECT_EQ(this->Print("%s", own(5)), "<ERROR>");
  EXPECT_EQ(this->Print("%s", own(65535)), "<ERROR>");
  EXPECT_EQ(this->Print("[%.0s]", own(65536)), "[]") << "plausible, and not read for no characters";
  EXPECT_EQ(this->Print("%S", static_cast<const test::OtherWidth<TypeParam>*>(nullptr)), "<NULL>");
  EXPECT_EQ(this->Print("%S", reinterpret_cast<const test::OtherWidth<TypeParam>*>(uintptr_t{5})), "<ERROR>");
  EXPECT_EQ(this->Print("%s", nullptr), "<NULL>");
  EXPECT_EQ(this->Print("%.2s %.2s", own(0), own(5)), "<NULL> <ERROR>") << "marks are never cut";
}

TYPED_TEST(FormatTextTest, AMissingStringIsNullAndAnotherTypeAnError) {
  EXPECT_EQ(this->Print("%s %S"), "<NULL> <NULL>");
  EXPECT_EQ(this->Print("%s %s", Own{"a"}), "a <NULL>");
  EXPECT_EQ(this->Print("%s", 0), "<ERROR>");
  EXPECT_EQ(this->Print("%s", 123456789), "<ERROR>");
  EXPECT_EQ(this->Print("%s", 1.5), "<ERROR>");
  EXPECT_EQ(this->Print("%s", Other{"other width"}), "<ERROR>");
  EXPECT_EQ(this->Print("%S", Own{"own width"}), "<ERROR>");
  const int number = 7;
  EXPECT_EQ(this->Print("%s", &number), "<ERROR>");
}

TYPED_TEST(FormatTextTest, PrintsOneCharacter) {
  EXPECT_EQ(this->Print("%c%c", 'a', 0x42), "aB");
  EXPECT_EQ(this->Print("%c", 0xE4), "\xe4");
  EXPECT_EQ(this->Print("%c", TypeParam('x')), "x");
  EXPECT_EQ(this->Print("%3c|%-3c|", 'a', 'b'), "  a|b  |");
  EXPECT_EQ(this->Print("%c|", 0), std::string_view("\0|", 2));
  EXPECT_EQ(this->Print("%c|"), std::string_view("\0|", 2)) << "a missing one is 0";
}

TEST(FormatWidthTest, ACharacterIsCutToTheRunsWidth) {
  EXPECT_EQ(FormatString("%c", 0x20AC), "\xac");
  EXPECT_EQ(FormatString(L"%c", 0x20AC), L"\u20ac");
}

TYPED_TEST(FormatTextTest, EscapesForReading) {
  EXPECT_EQ(this->Print("%e", "plain 'text' /"), "plain 'text' /");
  EXPECT_EQ(this->Print("%e", "\a\b\t\n\v\f\r\"\\"), "\\a\\b\\t\\n\\v\\f\\r\\\"\\\\");
  EXPECT_EQ(this->Print("%e", "\x01\x1f\x7f\x80\xff"), "\\x01\\x1f\\x7f\\x80\\xff");
  EXPECT_EQ(this->Print("[%e]", ""), "[]");
}

TYPED_TEST(FormatTextTest, EscapesForAddresses) {
  EXPECT_EQ(this->Print("%U", "aZ09-._~"), "aZ09-._~");
  EXPECT_EQ(this->Print("%U", "a b/c?d=e&\xc3\xa4%"), "a%20b%2Fc%3Fd%3De%26%C3%A4%25");
}

TYPED_TEST(FormatTextTest, APrecisionIsTheByteCountOfAnEscapedText) {
  EXPECT_EQ(this->Print("%.2e|", "a\nbc"), "a\\n|");
  EXPECT_EQ(this->Print("%.5e|", std::string_view("a\0b\0c", 5).data()), "a\\x00b\\x00c|") << "NULs too";
  EXPECT_EQ(this->Print("%.3U|", std::string_view("a\0b", 3).data()), "a%00b|");
  EXPECT_EQ(this->Print("[%.0e]", "abc"), "[]");
}

TYPED_TEST(FormatTextTest, EscapedTextsArePaddedAsTheyAreShown) {
  EXPECT_EQ(this->Print("%6e|%-6e|", "a\n", "a\n"), "   a\\n|a\\n   |");
  EXPECT_EQ(this->Print("%2e|", "a\n"), "a\\n|");
}

TYPED_TEST(FormatTextTest, EscapesMarkWhatIsNoText) {
  EXPECT_EQ(this->Print("%e %U", nullptr, nullptr), "<NULL> <NULL>");
  EXPECT_EQ(this->Print("%e"), "<NULL>");
  EXPECT_EQ(this->Print("%e", reinterpret_cast<const char*>(uintptr_t{5})), "<ERROR>");
  EXPECT_EQ(this->Print("%e", L"wide"), "<ERROR>") << "narrow in both runs";
  EXPECT_EQ(this->Print("%U", 5), "<ERROR>");
}

}  // namespace
}  // namespace veskard
