#include "lang/AppNames.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

std::wstring Expanded(std::wstring text) {
  ExpandAppNames(text);
  return text;
}

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
