#include "util/string/CodePage.h"

#include <gtest/gtest.h>

#include "tests/support/Faults.h"
#include "tests/support/GuardedBuffer.h"

namespace veskard {
namespace {

constexpr unsigned kWesternCodePage = 1252;
constexpr unsigned kUtf8CodePage = 65001;
constexpr unsigned kNoSuchCodePage = 54321;

std::wstring Converted(unsigned codePage, std::string_view bytes) {
  test::GuardedBuffer buffer(bytes);
  size_t length = 12345;
  const auto wide = MultiByteToWide(codePage, buffer.begin(), bytes.size(), &length);
  EXPECT_EQ(wide[length], L'\0');
  return {wide.get(), length};
}

TEST(CodePageTest, CodePageZeroIsUtf8) {
  EXPECT_EQ(Converted(kCodePageDefault, "a\xc3\xa4\xe2\x82\xac"), L"a\u00e4\u20ac");
  EXPECT_EQ(Converted(kUtf8CodePage, "a\xc3\xa4\xe2\x82\xac"), L"a\u00e4\u20ac");
}

TEST(CodePageTest, ConvertsBeyondTheBasicPlane) {
  EXPECT_EQ(Converted(kCodePageDefault, "\xf0\x9f\x98\x80"), L"\xd83d\xde00");
}

TEST(CodePageTest, OtherCodePagesAreTheSystems) {
  EXPECT_EQ(Converted(kWesternCodePage, "\xe4\x80"), L"\u00e4\u20ac");
}

TEST(CodePageTest, ACodePageThatYieldsNothingIsReplacedByTheSystems) {
  EXPECT_EQ(Converted(kNoSuchCodePage, "plain"), L"plain");
}

TEST(CodePageTest, NullIsNull) {
  size_t length = 5;
  EXPECT_EQ(MultiByteToWide(kCodePageDefault, nullptr, 3, &length), nullptr);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(MultiByteToWide(kCodePageDefault, nullptr, kUpToTerminator, nullptr), nullptr);
}

TEST(CodePageTest, NothingIsTheEmptyString) {
  EXPECT_EQ(Converted(kCodePageDefault, ""), L"");
  size_t length = 5;
  const auto wide = MultiByteToWide(kCodePageDefault, "", kUpToTerminator, &length);
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(wide[0], L'\0');
}

TEST(CodePageTest, AllOnesMeansUpToTheTerminator) {
  test::GuardedBuffer buffer(std::string_view("ab\0", 3));
  size_t length = 0;
  const auto wide = MultiByteToWide(kCodePageDefault, buffer.begin(), kUpToTerminator, &length);
  EXPECT_EQ(length, 2u);
  EXPECT_STREQ(wide.get(), L"ab");
}

TEST(CodePageTest, ALengthTakesNulsAlong) {
  EXPECT_EQ(Converted(kCodePageDefault, std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(CodePageTest, TheLengthNeedNotBeAsked) {
  const auto wide = MultiByteToWide(kCodePageDefault, "abc", 2, nullptr);
  EXPECT_STREQ(wide.get(), L"ab");
}

TEST(CodePageTest, BytesThatAreNoUtf8AreReplacedNotRefused) {
  EXPECT_EQ(Converted(kCodePageDefault,
                      "a\xff"
                      "b"),
            L"a\ufffd"
            L"b");
}

TEST(CodePageTest, ConvertsStrings) {
  EXPECT_EQ(WideFromUtf8("\xc3\xa4"), L"\u00e4");
  EXPECT_EQ(WideFromUtf8(""), L"");
  EXPECT_EQ(WideFromUtf8({}), L"");
  EXPECT_EQ(Utf8FromWide(L"\u00e4\u20ac\xd83d\xde00"), "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
  EXPECT_EQ(Utf8FromWide(L""), "");
  EXPECT_EQ(Utf8FromWide(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
  const std::wstring large(100000, L'\u20ac');
  EXPECT_EQ(WideFromUtf8(Utf8FromWide(large)), large);
}

TEST(CodePageTest, EveryAllocationMayFail) {
  const std::string bytes(300, 'x');
  std::wstring target;
  const size_t failed = test::FailEachAllocation([&] { target = WideFromUtf8(bytes); },
                                                 [&](size_t, bool threw, size_t blocks) {
                                                   EXPECT_TRUE(threw);
                                                   EXPECT_EQ(test::LiveBlocks(), blocks);
                                                   EXPECT_EQ(target, L"");
                                                 });
  EXPECT_EQ(failed, 2u);
  EXPECT_EQ(target.size(), 300u);
}

}  // namespace
}  // namespace veskard
