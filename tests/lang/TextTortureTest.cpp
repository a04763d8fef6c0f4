// Every heap allocation of the texts' code failing, one after another.
#include <gtest/gtest.h>

#include "lang/CheckText.h"
#include "lang/LanguageTable.h"
#include "lang/ZipReader.h"
#include "tests/lang/ZipBuilder.h"
#include "tests/support/Faults.h"

namespace veskard {
namespace {

using test::FailEachAllocation;
using test::LiveBlocks;

const auto throwsAndFreesAll = [](size_t number, bool threw, size_t blocksBefore) {
  const bool isFreed = LiveBlocks() == blocksBefore;
  EXPECT_TRUE(threw) << number;
  EXPECT_TRUE(isFreed) << number;
};

TEST(TextTortureTest, ReadingAMember) {
  const std::string archive = BuildZip(
      {{.name = "version", .contents = "1"},
       {.name = "a member with a name beyond any short string", .contents = std::string(5000, 'x')}});
  const std::string name = "a member with a name beyond any short string";
  const auto scenario = [&] {
    ZipReader reader(archive);
    reader.MemberNames();
    std::string contents;
    reader.ReadMember(name, contents);
  };
  EXPECT_GT(FailEachAllocation(scenario, throwsAndFreesAll), 2u);
}

TEST(TextTortureTest, ReaderStaysUsable) {
  const std::string contents(5000, 'x');
  const std::string archive = BuildZip({{.name = "a.txt", .contents = contents}});
  ZipReader reader(archive);
  const auto readFails = [&](size_t number, bool threw, size_t) {
    std::string text;
    const bool isRead = reader.ReadMember("a.txt", text).Succeeded();
    EXPECT_TRUE(threw && isRead && text == contents) << number;
  };
  const std::string name = "a.txt";
  const auto scenario = [&] {
    std::string text;
    reader.ReadMember(name, text);
  };
  EXPECT_EQ(FailEachAllocation(scenario, readFails), 1u);
}

TEST(TextTortureTest, TranslatingAndChecking) {
  const std::wstring translation = L"Mit %APPNAME% und noch jemandem teilen\nAbbrechen";
  const std::wstring english = L"Share with %APPNAME%\nCancel";
  const auto scenario = [&] {
    LanguageTable table;
    table.Translate(translation, english);
    ApplyCheckText(table, english);
  };
  EXPECT_GT(FailEachAllocation(scenario, throwsAndFreesAll), 300u);
}

}  // namespace
}  // namespace veskard
