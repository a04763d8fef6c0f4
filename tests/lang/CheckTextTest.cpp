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

// What a check file reports and makes of the texts 8 ("Cancel") and 9 ("Close").
struct CheckRow {
  const char* name;
  const wchar_t* text;
  std::wstring report;
  const wchar_t* cancel;
  const wchar_t* close;
};

TEST(CheckTextTest, ReplacesAndReports) {
  const CheckRow rows[] = {
      {"a translation replaces the entry", L"Cancel\nAbbrechen\nClose\nSchlie\u00dfen", L"", L"Abbrechen",
       L"Schlie\u00dfen"},
      {"a question mark keeps the entry, two are a text", L"Cancel\n?\nClose\n??", L"", L"x", L"??"},
      {"blank lines between pairs are skipped", L"\r\n\r\nCancel\r\n\r\nAbbrechen\r\n\r\n\r\nClose\r\nZu",
       L"", L"Abbrechen", L"Zu"},
      {"an unknown line is reported and its translation dropped", L"No such text\nCancel\nClose\nZu",
       std::wstring(kUnknown) + L"No such text\r\n", L"x", L"Zu"},
      {"a question mark claims the text too", L"Cancel\n?\nCancel\nAbbrechen",
       std::wstring(kUnknown) + L"Cancel\r\n", L"x", L"x"},
      {"a line without a translation changes nothing", L"Cancel", L"", L"x", L"x"},
      {"a translation that equals the English text is reported", L"Cancel\nCancel",
       std::wstring(kNotFound) + L"Cancel\r\n", L"Cancel", L"x"},
  };
  for (const CheckRow& row : rows) {
    LanguageTable table = TranslatedTable();
    EXPECT_EQ(ApplyCheckText(table, row.text), row.report) << row.name;
    EXPECT_EQ(table.Get(8), row.cancel) << row.name;
    EXPECT_EQ(table.Get(9), row.close) << row.name;
  }
}

TEST(CheckTextTest, TranslationIsTakenAsItStands) {
  LanguageTable table = TranslatedTable();
  ApplyCheckText(table, L"Share with %APPNAME%\nMit %APPNAME%\\r\\nteilen");
  EXPECT_EQ(table.Get(262), L"Mit %APPNAME%\r\nteilen");
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
