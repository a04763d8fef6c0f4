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

// What becomes of one text; nothing: it stays English.
struct TranslationRow {
  const char* name;
  std::wstring_view translations;
  std::wstring_view english;
  size_t number;
  std::wstring_view text = L"";
};

TEST(LanguageTableTest, TranslatesByTheEnglishLineBeside) {
  const TranslationRow rows[] = {
      {"the first line", L"Empfang abbrechen\nAbbrechen\n", L"Cancel receiving\r\nCancel", 259,
       L"Empfang abbrechen"},
      {"the second line", L"Empfang abbrechen\nAbbrechen\n", L"Cancel receiving\r\nCancel", 8, L"Abbrechen"},
      {"the first matching line wins", L"erste\nzweite", L"Cancel\nCancel", 8, L"erste"},
      {"a line that matches nothing is ignored", L"nichts\nAbbrechen", L"No such text\nCancel", 8,
       L"Abbrechen"},
      {"whole lines are compared, with case", L"a\nb\nc", L"cancel\nCance\nCancel ", 8},
      {"the translations are shorter", L"Abbrechen", L"Cancel\nClose", 9},
      {"the English text is shorter", L"Abbrechen\nSchlie\u00dfen", L"Cancel", 9},
      {"both lines are unescaped", L"eins\\r\\nzwei||drei",
       L"Could not update because it seems like %APPNAME% is already running.\\r\\n\\r\\n"
       L"Please close %APPNAME% and try again.",
       7, L"eins\r\nzwei\0drei"sv},
      {"names are filled in in translations", L"Mit %APPSHORTNAME% teilen", L"Share with %APPNAME%", 262,
       L"Mit Veskard Agent teilen"},
      {"the English line is compared before names are filled in", L"x", L"Share with Nimbrel Veskard Agent",
       262},
      {"a blank translation moves later ones up", L"\nSchlie\u00dfen\n", L"Cancel\nClose\n", 8,
       L"Schlie\u00dfen"},
      {"a blank translation leaves none for the last line", L"\nSchlie\u00dfen\n", L"Cancel\nClose\n", 9},
      {"a translation that equals the English text counts as English", L"Cancel", L"Cancel", 8},
  };
  for (const TranslationRow& row : rows) {
    LanguageTable table;
    table.Translate(std::wstring(row.translations), std::wstring(row.english));
    EXPECT_EQ(table.IsEnglish(row.number), row.text.empty()) << row.name;
    EXPECT_EQ(table.Get(row.number), row.text.empty() ? LanguageTable().Get(row.number) : row.text)
        << row.name;
  }
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

TEST(EqualsBuiltInTest, ComparesLengthAndEveryCharacter) {
  EXPECT_TRUE(EqualsBuiltIn(L"Cancel", 8));
  EXPECT_FALSE(EqualsBuiltIn(L"Cancel\0"sv, 8));
  EXPECT_FALSE(EqualsBuiltIn(L"Cancem", 8));
  // Only the low byte is that of the letter.
  EXPECT_FALSE(EqualsBuiltIn(L"\u0143ancel", 8));
}

// --- The product's names ---

TEST(ExpandAppNamesTest, FillsInTheNames) {
  EXPECT_EQ(Expanded(L"Share with %APPNAME%"), L"Share with Nimbrel Veskard Agent");
  EXPECT_EQ(Expanded(L"Open %APPSHORTNAME%"), L"Open Veskard Agent");
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
