#include "lang/CheckText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lang/BuiltInStrings.h"

namespace veskard {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr wchar_t kUnknown[] = L"*******\r\nList of unknown strings in the language file:\r\n*******\r\n";
constexpr wchar_t kNotFound[] = L"*******\r\nList of strings not found in the language file:\r\n*******\r\n";

/// A table without any English text.
LanguageTable TranslatedTable() {
  LanguageTable table;
  for (size_t number = 0; number < kStringCount; ++number) table.Set(number, L"x");
  return table;
}

TEST(CheckReportTest, EmptyWithoutItems) {
  EXPECT_EQ(CheckReport().Text(), L"");
}

TEST(CheckReportTest, HeadingsStandOnceAndApart) {
  CheckReport report;
  report.AddUnknown(L"one");
  report.AddUnknown(L"two");
  report.AddNotFound(L"three");
  report.AddNotFound(L"four");
  EXPECT_EQ(report.Text(),
            std::wstring(kUnknown) + L"one\r\ntwo\r\n\r\n\r\n" + kNotFound + L"three\r\nfour\r\n");
}

TEST(CheckReportTest, FirstHeadingHasNothingBeforeIt) {
  CheckReport report;
  report.AddNotFound(L"one");
  EXPECT_EQ(report.Text(), std::wstring(kNotFound) + L"one\r\n");
}

TEST(CheckReportTest, LineBreaksInItemsAreEscaped) {
  CheckReport report;
  report.AddUnknown(L"one\r\ntwo");
  EXPECT_EQ(report.Text(), std::wstring(kUnknown) + L"one\\r\\ntwo\r\n");
}

TEST(CheckTextTest, TranslationReplacesTheEntry) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"Cancel\nAbbrechen\nClose\nSchlie\u00dfen"), L"");
  EXPECT_EQ(table.Get(8), L"Abbrechen");
  EXPECT_EQ(table.Get(9), L"Schlie\u00dfen");
}

TEST(CheckTextTest, TranslationIsTakenAsItStands) {
  LanguageTable table = TranslatedTable();
  ApplyCheckText(table, L"Share with %APPNAME%\nMit %APPNAME%\\r\\nteilen");
  EXPECT_EQ(table.Get(262), L"Mit %APPNAME%\r\nteilen");
}

TEST(CheckTextTest, QuestionMarkKeepsTheEntry) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"Cancel\n?\nClose\n??"), L"");
  EXPECT_EQ(table.Get(8), L"x");
  EXPECT_EQ(table.Get(9), L"??");
}

TEST(CheckTextTest, BlankLinesBetweenPairsAreSkipped) {
  LanguageTable table = TranslatedTable();
  ApplyCheckText(table, L"\r\n\r\nCancel\r\n\r\nAbbrechen\r\n\r\n\r\nClose\r\nZu");
  EXPECT_EQ(table.Get(8), L"Abbrechen");
  EXPECT_EQ(table.Get(9), L"Zu");
}

TEST(CheckTextTest, UnknownEnglishLineIsReportedAndItsTranslationDropped) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"No such text\nCancel\nClose\nZu"),
            std::wstring(kUnknown) + L"No such text\r\n");
  EXPECT_EQ(table.Get(8), L"x");
  EXPECT_EQ(table.Get(9), L"Zu");
}

TEST(CheckTextTest, EachPairClaimsOneOfTwoEqualTexts) {
  LanguageTable table = TranslatedTable();
  const std::wstring report = ApplyCheckText(table, L"Name\nfirst\nName\nsecond\nName\nthird");
  std::vector<std::wstring> texts;
  for (size_t number = 0; number < kStringCount; ++number) {
    if (BuiltInString(number) == "Name") texts.push_back(table.Get(number));
  }
  EXPECT_THAT(texts, testing::ElementsAre(L"first", L"second"));
  EXPECT_EQ(report, std::wstring(kUnknown) + L"Name\r\n");
}

TEST(CheckTextTest, QuestionMarkClaimsTheTextToo) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"Cancel\n?\nCancel\nAbbrechen"), std::wstring(kUnknown) + L"Cancel\r\n");
  EXPECT_EQ(table.Get(8), L"x");
}

TEST(CheckTextTest, EnglishLineWithoutATranslationChangesNothing) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"Cancel"), L"");
  EXPECT_EQ(table.Get(8), L"x");
}

TEST(CheckTextTest, TextsStillEnglishAreReportedWithTheirPlaceholders) {
  LanguageTable table = TranslatedTable();
  const LanguageTable english;
  for (const size_t number : {size_t{7}, size_t{8}, size_t{262}}) table.Set(number, english.Get(number));
  EXPECT_EQ(ApplyCheckText(table, L""),
            std::wstring(kNotFound) +
                L"Could not update because it seems like %APPNAME% is already running.\\r\\n\\r\\n"
                L"Please close %APPNAME% and try again.\r\n"
                L"Cancel\r\n"
                L"Share with %APPNAME%\r\n");
}

TEST(CheckTextTest, TranslationThatEqualsTheEnglishTextIsReported) {
  LanguageTable table = TranslatedTable();
  EXPECT_EQ(ApplyCheckText(table, L"Cancel\nCancel"), std::wstring(kNotFound) + L"Cancel\r\n");
}

TEST(CheckTextTest, UntouchedTableReportsEveryText) {
  LanguageTable table;
  const std::wstring report = ApplyCheckText(table, L"Cancel\nAbbrechen\nnonsense\n?\n");
  EXPECT_THAT(report,
              StartsWith(std::wstring(kUnknown) + L"nonsense\r\n\r\n\r\n" + kNotFound + L"B\r\nEB\r\n"));
  EXPECT_THAT(report, Not(HasSubstr(L"\r\nCancel\r\n")));
  EXPECT_THAT(report, HasSubstr(L"\r\nSync to this device\r\n"));
}

TEST(CheckPairsTest, EmptyLineStartsANewPair) {
  LanguageTable table = TranslatedTable();
  CheckReport report;
  CheckPairs pairs(table, report);
  pairs.TakeLine(L"Cancel");
  pairs.TakeLine(L"");
  pairs.TakeLine(L"Close");
  pairs.TakeLine(L"Zu");
  EXPECT_EQ(table.Get(8), L"x");
  EXPECT_EQ(table.Get(9), L"Zu");
  EXPECT_EQ(report.Text(), L"");
}

TEST(CheckPairsTest, EmptyLineBetweenPairsChangesNothing) {
  LanguageTable table = TranslatedTable();
  CheckReport report;
  CheckPairs pairs(table, report);
  pairs.TakeLine(L"");
  pairs.TakeLine(L"Cancel");
  pairs.TakeLine(L"Abbrechen");
  EXPECT_EQ(table.Get(8), L"Abbrechen");
}

}  // namespace
}  // namespace veskard
