// The table with the archive that ships, in the resources of this program.
#include "lang/Language.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "core/ModuleHandle.h"
#include "lang/BuiltInStrings.h"
#include "lang/CheckFile.h"
#include "lang/LanguageArchive.h"
#include "lang/LanguageCode.h"
#include "lang/LanguageTable.h"
#include "lang/LineFile.h"
#include "lang/ResourceData.h"
#include "tests/lang/ZipBuilder.h"
#include "tests/support/Patched.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

void Load(std::string_view code) {
  LoadLanguage(static_cast<int32_t>(PackLanguageCode(code)));
}

TEST(LanguageTest, GivenCodeChoosesTheLanguage) {
  Load("de");
  EXPECT_EQ(GetLanguageStatus().member, "German!de.txt");
  EXPECT_EQ(GetLanguageStatus().archive, DataStatus::kReady);
  EXPECT_THAT(GetLanguageStatus().diagnostics, IsEmpty());
  EXPECT_EQ(GetString(StringId::kCancelReceiving), L"Empfang abbrechen");
  EXPECT_EQ(GetString(StringId::kShareWith), L"\u00DCber Nimbrel Veskard Agent teilen");
}

TEST(LanguageTest, TextThatStandsTwiceIsTranslatedTwice) {
  Load("fr");
  size_t count = 0;
  for (uint32_t number = 0; number < kStringCount; ++number) {
    if (BuiltInString(number) != "Device name") continue;
    EXPECT_EQ(GetString(number), L"Nom de l\u2019appareil");
    ++count;
  }
  EXPECT_EQ(count, 2u);
}

TEST(LanguageTest, CodeWithoutAMemberGivesEnglish) {
  Load("de");
  for (const char* code : {"pt", "ptPT", "zhTW", "zh", "xx", "deDE", ""}) {
    Load(code);
    EXPECT_EQ(GetLanguageStatus().member, "") << code;
    for (uint32_t number = 0; number < kStringCount; ++number) {
      EXPECT_EQ(GetString(number), LanguageTable().Get(number)) << code;
    }
  }
}

TEST(LanguageTest, StatusNamesOnlyAMemberThatIsInForce) {
  // An archive of the test's own in the place of the program's resource.
  std::string archive;
  const test::Patched<&::LockResource> lock("LockResource", [&](auto...) { return archive.data(); });
  const test::Patched<&::SizeofResource> size("SizeofResource",
                                              [&](auto...) { return static_cast<DWORD>(archive.size()); });
  const ZipMember version = {.name = "version", .contents = "1"};
  const ZipMember english = {.name = "english.txt", .contents = "Cancel\n"};
  const ZipMember german = {.name = "German!de.txt", .contents = "Abbrechen\n"};
  const ZipMember damaged = {.name = "German!de.txt", .contents = "Abbrechen\n", .claimedCrc = 1};

  archive = BuildZip({version, english, german});
  Load("de");
  EXPECT_EQ(GetString(8), L"Abbrechen");
  EXPECT_EQ(GetLanguageStatus().member, "German!de.txt");
  for (const std::vector<ZipMember>& members : {std::vector{version, english, damaged}, {version, german}}) {
    archive = BuildZip(members);
    Load("de");
    EXPECT_EQ(GetString(8), L"Cancel");
    EXPECT_EQ(GetLanguageStatus().member, "");
    EXPECT_THAT(GetLanguageStatus().diagnostics, SizeIs(1));
  }
}

TEST(LanguageTest, NumberOutsideTheTableIsEmpty) {
  EXPECT_NE(GetString(308), L"");
  EXPECT_EQ(GetString(309), L"");
  EXPECT_EQ(GetString(0xFFFFFFFF), L"");
}

TEST(LanguageTest, EarlierTextsStayValid) {
  Load("de");
  const std::wstring& german = GetString(8);
  Load("fr");
  EXPECT_EQ(german, L"Abbrechen");
  EXPECT_EQ(GetString(8), L"Annuler");
}

TEST(LanguageTest, ReadersSeeOneTableOrTheOther) {
  Load("de");
  std::atomic<bool> stop{false};
  std::thread reader([&stop] {
    while (!stop) {
      const std::wstring& text = GetString(8);
      EXPECT_TRUE(text == L"Abbrechen" || text == L"Annuler");
    }
  });
  for (int i = 0; i < 20; ++i) Load(i % 2 == 0 ? "fr" : "de");
  stop = true;
  reader.join();
}

TEST(LanguageTest, ThreadsMayLoadAtOnce) {
  std::thread other([] { Load("de"); });
  Load("de");
  other.join();
  EXPECT_EQ(GetString(8), L"Abbrechen");
}

TEST(LanguageTest, FormatterTakesUnitNamesFromTheTable) {
  Load("fr");
  EXPECT_EQ(FormatString(L"%Z", uint64_t{512}), L"0.5 ko");
  Load("");
  EXPECT_EQ(FormatString(L"%Z", uint64_t{512}), L"0.5 kB");
}

/// A check file beside this program, as long as the test runs.
class HostCheckFileTest : public ::testing::Test {
 protected:
  ~HostCheckFileTest() override {
    std::filesystem::remove(path_);
    std::filesystem::remove(CheckReportPath(path_.wstring()));
  }
  std::filesystem::path path_ = CheckFilePath(ReadModulePath(nullptr));
};

TEST_F(HostCheckFileTest, IsTriedAfterTheArchive) {
  std::ofstream(path_) << "Cancel\nTest\n";
  Load("de");
  EXPECT_EQ(GetString(8), L"Test");
  EXPECT_EQ(GetString(9), L"Schlie\u00DFen");
  // The German units are the English ones.
  std::ifstream report(std::filesystem::path(CheckReportPath(path_.wstring())));
  std::vector<std::string> lines;
  for (std::string line; std::getline(report, line);) lines.push_back(line);
  ASSERT_GT(lines.size(), 4u);
  lines.resize(4);
  EXPECT_THAT(lines,
              ElementsAre("*******", "List of strings not found in the language file:", "*******", "B"));
}

TEST_F(HostCheckFileTest, IsTriedWhereTextsAreEnglishToo) {
  std::ofstream(path_) << "Cancel\nTest\n";
  Load("");
  EXPECT_EQ(GetString(8), L"Test");
}

// --- The archive that ships ---

class ShippedArchiveTest : public ::testing::Test {
 protected:
  std::vector<std::wstring> Lines(const std::string& name) {
    std::wstring text;
    EXPECT_TRUE(archive_.ReadText(name, text)) << name;
    std::vector<std::wstring> lines;
    LineWalker walker(text);
    for (std::wstring_view line; walker.Next(line);) lines.emplace_back(line);
    return lines;
  }

  ResourceData data_{nullptr, 111, L"BIN"};
  LanguageArchive archive_{data_.Bytes()};
};

TEST_F(ShippedArchiveTest, HasItsMembers) {
  EXPECT_THAT(
      archive_.MemberNames(),
      ElementsAre("version", "english.txt", "Chinese (China)!zhCN.txt", "Dutch!nl.txt", "French!fr.txt",
                  "German!de.txt", "Italian!it.txt", "Japanese!ja.txt", "Korean!ko.txt",
                  "Portuguese (Brazil)!ptBR.txt", "Russian!ru.txt", "Spanish (Traditional)!esES.txt"));
  EXPECT_THAT(archive_.Diagnostics(), IsEmpty());
}

TEST_F(ShippedArchiveTest, EveryLanguageIsParallelToEnglish) {
  const size_t count = Lines("english.txt").size();
  for (const std::string& name : archive_.MemberNames()) {
    if (CodeOfMember(name) == 0) continue;
    EXPECT_EQ(Lines(name).size(), count) << name;
  }
}

TEST_F(ShippedArchiveTest, EveryBuiltInTextHasAnEnglishLine) {
  std::wstring english;
  ASSERT_TRUE(archive_.ReadText("english.txt", english));
  std::wstring marks;
  for (size_t i = Lines("english.txt").size(); i != 0; --i) marks += L"x\n";
  LanguageTable table;
  table.Translate(marks, english);
  for (size_t number = 0; number < kStringCount; ++number) EXPECT_EQ(table.Get(number), L"x") << number;
}

TEST_F(ShippedArchiveTest, EveryLanguageTranslatesTheMenu) {
  for (const std::string& name : archive_.MemberNames()) {
    if (CodeOfMember(name) == 0) continue;
    LoadLanguage(static_cast<int32_t>(CodeOfMember(name)));
    EXPECT_EQ(GetLanguageStatus().member, name);
    EXPECT_THAT(GetLanguageStatus().diagnostics, IsEmpty());
    for (uint32_t number = 259; number <= 263; ++number) {
      EXPECT_NE(GetString(number), LanguageTable().Get(number)) << name << " " << number;
      EXPECT_EQ(GetString(number).find(L'%'), std::wstring::npos) << name << " " << number;
    }
  }
}

}  // namespace
}  // namespace veskard
