#include "lang/LanguageTable.h"

#include <gtest/gtest.h>

#include "lang/BuiltInStrings.h"

namespace veskard {
namespace {

using namespace std::string_view_literals;

/// The numbers of the built-in texts that equal `text`.
std::vector<size_t> NumbersOf(std::string_view text) {
  std::vector<size_t> numbers;
  for (size_t number = 0; number < kStringCount; ++number) {
    if (BuiltInString(number) == text) numbers.push_back(number);
  }
  return numbers;
}

std::wstring Expanded(std::wstring text) {
  ExpandAppNames(text);
  return text;
}

TEST(LanguageTableTest, StartsInEnglishWithNamesFilledIn) {
  const LanguageTable table;
  EXPECT_EQ(table.Get(263), L"Sync to this device");
  EXPECT_EQ(table.Get(262), L"Share with Nimbrel Veskard Agent");
  for (size_t number = 0; number < kStringCount; ++number) EXPECT_TRUE(table.IsEnglish(number)) << number;
}

TEST(LanguageTableTest, TranslatesByTheEnglishLineBeside) {
  LanguageTable table;
  table.Translate(L"Empfang abbrechen\nAbbrechen\n", L"Cancel receiving\r\nCancel");
  EXPECT_EQ(table.Get(259), L"Empfang abbrechen");
  EXPECT_EQ(table.Get(8), L"Abbrechen");
}

TEST(LanguageTableTest, TextsWithoutATranslationStayEnglish) {
  LanguageTable table;
  table.Translate(L"Abbrechen", L"Cancel");
  for (size_t number = 0; number < kStringCount; ++number) {
    EXPECT_EQ(table.IsEnglish(number), number != 8) << number;
  }
}

TEST(LanguageTableTest, EnglishLineThatMatchesTwoTextsTranslatesBoth) {
  const std::vector<size_t> numbers = NumbersOf("Name");
  ASSERT_EQ(numbers.size(), 2u);
  LanguageTable table;
  table.Translate(L"Nom", L"Name");
  EXPECT_EQ(table.Get(numbers[0]), L"Nom");
  EXPECT_EQ(table.Get(numbers[1]), L"Nom");
}

TEST(LanguageTableTest, FirstMatchingLineWins) {
  LanguageTable table;
  table.Translate(L"erste\nzweite", L"Cancel\nCancel");
  EXPECT_EQ(table.Get(8), L"erste");
}

TEST(LanguageTableTest, EnglishLineThatMatchesNothingIsIgnored) {
  LanguageTable table;
  table.Translate(L"nichts\nAbbrechen", L"No such text\nCancel");
  EXPECT_EQ(table.Get(8), L"Abbrechen");
}

TEST(LanguageTableTest, ComparesWholeLinesWithCase) {
  LanguageTable table;
  table.Translate(L"a\nb\nc", L"cancel\nCance\nCancel ");
  EXPECT_TRUE(table.IsEnglish(8));
}

TEST(LanguageTableTest, EndsWithTheShorterText) {
  LanguageTable table;
  table.Translate(L"Abbrechen", L"Cancel\nClose");
  EXPECT_TRUE(table.IsEnglish(9));
  table.Translate(L"Abbrechen\nSchlie\u00dfen", L"Cancel");
  EXPECT_TRUE(table.IsEnglish(9));
}

TEST(LanguageTableTest, UnescapesBothLines) {
  LanguageTable table;
  table.Translate(L"eins\\r\\nzwei||drei",
                  L"Could not update because it seems like %APPNAME% is already running.\\r\\n\\r\\n"
                  L"Please close %APPNAME% and try again.");
  EXPECT_EQ(table.Get(7), L"eins\r\nzwei\0drei"sv);
}

TEST(LanguageTableTest, NamesAreFilledInInTranslations) {
  LanguageTable table;
  table.Translate(L"Mit %APPSHORTNAME% teilen", L"Share with %APPNAME%");
  EXPECT_EQ(table.Get(262), L"Mit Veskard Agent teilen");
}

TEST(LanguageTableTest, EnglishLineIsComparedBeforeNamesAreFilledIn) {
  LanguageTable table;
  table.Translate(L"x", L"Share with Nimbrel Veskard Agent");
  EXPECT_TRUE(table.IsEnglish(262));
}

TEST(LanguageTableTest, BlankTranslationMovesLaterOnesUp) {
  LanguageTable table;
  table.Translate(L"\nSchlie\u00dfen\n", L"Cancel\nClose\n");
  EXPECT_EQ(table.Get(8), L"Schlie\u00dfen");
  EXPECT_TRUE(table.IsEnglish(9));
}

TEST(LanguageTableTest, TranslationThatEqualsTheEnglishTextCountsAsEnglish) {
  LanguageTable table;
  table.Translate(L"Cancel", L"Cancel");
  EXPECT_TRUE(table.IsEnglish(8));
}

TEST(EqualsBuiltInTest, ComparesLengthAndEveryCharacter) {
  EXPECT_TRUE(EqualsBuiltIn(L"Cancel", 8));
  EXPECT_FALSE(EqualsBuiltIn(L"Cancel\0"sv, 8));
  EXPECT_FALSE(EqualsBuiltIn(L"Cancem", 8));
  // Only the low byte is that of the letter.
  EXPECT_FALSE(EqualsBuiltIn(L"\u0143ancel", 8));
}

// --- The product's names ---

TEST(ExpandAppNamesTest, FillsInTheFullName) {
  EXPECT_EQ(Expanded(L"Share with %APPNAME%"), L"Share with Nimbrel Veskard Agent");
}

TEST(ExpandAppNamesTest, FillsInTheShortName) {
  EXPECT_EQ(Expanded(L"Open %APPSHORTNAME%"), L"Open Veskard Agent");
}

TEST(ExpandAppNamesTest, FillsInEveryOccurrence) {
  EXPECT_EQ(Expanded(L"%APPNAME%%APPNAME% %APPSHORTNAME%, %APPSHORTNAME%"),
            L"Nimbrel Veskard AgentNimbrel Veskard Agent Veskard Agent, Veskard Agent");
}

TEST(ExpandAppNamesTest, LeavesEverythingElse) {
  for (const wchar_t* text :
       {L"", L"%", L"%s of %d", L"%appname%", L"%APPNAME", L"APPNAME%", L"%APP NAME%"}) {
    EXPECT_EQ(Expanded(text), text);
  }
}

TEST(ExpandAppNamesTest, PercentSignsAroundAPlaceholderStay) {
  EXPECT_EQ(Expanded(L"%%APPNAME%%"), L"%Nimbrel Veskard Agent%");
}

}  // namespace
}  // namespace veskard
