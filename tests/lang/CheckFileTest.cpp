#include "lang/CheckFile.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "lang/BuiltInStrings.h"
#include "tests/support/Patched.h"

namespace veskard {
namespace {

namespace fs = std::filesystem;

constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";
constexpr char kUnknown[] = "*******\r\nList of unknown strings in the language file:\r\n*******\r\n";
constexpr char kNotFound[] = "*******\r\nList of strings not found in the language file:\r\n*******\r\n";

/// A folder with a check file, and a table without any English text.
class CheckFileTest : public ::testing::Test {
 protected:
  CheckFileTest()
      : folder_(fs::temp_directory_path() / ("check file " + std::to_string(::GetCurrentProcessId()))) {
    fs::create_directories(folder_);
    for (size_t number = 0; number < kStringCount; ++number) table_.Set(number, L"x");
  }
  ~CheckFileTest() override { fs::remove_all(folder_); }

  fs::path CheckPath() const { return folder_ / L"host.exe.lang.txt"; }
  fs::path ReportPath() const { return folder_ / L"host.exe.lang.log"; }

  static void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  void Apply(const std::string& bytes) {
    Write(CheckPath(), bytes);
    ApplyCheckFile(table_, CheckPath().wstring());
  }

  fs::path folder_;
  LanguageTable table_;
};

TEST(CheckFilePathTest, StandsBehindTheProgramsName) {
  EXPECT_EQ(CheckFilePath(L"C:\\Windows\\explorer.exe"), L"C:\\Windows\\explorer.exe.lang.txt");
}

TEST(CheckFilePathTest, ReportTakesThePlaceOfTheFinalExtension) {
  EXPECT_EQ(CheckReportPath(L"C:\\a.txt\\host.exe.lang.txt"), L"C:\\a.txt\\host.exe.lang.log");
}

TEST_F(CheckFileTest, MissingFileChangesNothing) {
  const LanguageTable english;
  table_ = english;
  ApplyCheckFile(table_, CheckPath().wstring());
  for (size_t number = 0; number < kStringCount; ++number) EXPECT_EQ(table_.Get(number), english.Get(number));
  EXPECT_FALSE(fs::exists(ReportPath()));
}

TEST_F(CheckFileTest, FileWithTheMarkIsUtf8) {
  Apply(std::string(kUtf8Mark) +
        "Cancel\r\nAbbr\xC3\xBC"
        "che \xE4\xB8\xAD\r\n");
  EXPECT_EQ(table_.Get(8),
            L"Abbr\u00FC"
            L"che \u4E2D");
}

TEST_F(CheckFileTest, FileWithoutTheMarkIsInTheSystemsCodePage) {
  // The test runs with the Western European one.
  ASSERT_EQ(::GetACP(), 1252u);
  Apply(
      "Cancel\r\nAbbr\xFC"
      "che\r\n");
  EXPECT_EQ(table_.Get(8),
            L"Abbr\u00FC"
            L"che");
}

TEST_F(CheckFileTest, Utf8WithoutTheMarkIsNotUtf8) {
  Apply(
      "Cancel\r\nAbbr\xC3\xBC"
      "che\r\n");
  EXPECT_EQ(table_.Get(8),
            L"Abbr\u00C3\u00BC"
            L"che");
}

TEST_F(CheckFileTest, NothingToReportWritesNoReport) {
  Write(ReportPath(), "an earlier report");
  Apply("Cancel\nAbbrechen\n");
  EXPECT_EQ(Read(ReportPath()), "an earlier report");
}

TEST_F(CheckFileTest, ReportToTheByte) {
  table_.Set(7, LanguageTable().Get(7));
  Apply("Canc\xE9l\nAbbrechen\nOne\\r\\nTwo\nEins\n");
  EXPECT_EQ(Read(ReportPath()), std::string(kUnknown) + "Canc\xC3\xA9l\r\nOne\\r\\nTwo\r\n\r\n\r\n" +
                                    kNotFound +
                                    "Could not update because it seems like %APPNAME% is already running."
                                    "\\r\\n\\r\\nPlease close %APPNAME% and try again.\r\n");
}

TEST_F(CheckFileTest, ReportHasTheMarkWhereTheFileHasIt) {
  Apply(std::string(kUtf8Mark) + "Canc\xC3\xA9l\nAbbrechen\n");
  EXPECT_EQ(Read(ReportPath()), std::string(kUtf8Mark) + kUnknown + "Canc\xC3\xA9l\r\n");
}

TEST_F(CheckFileTest, ReportOfTheListsAloneHasNothingBeforeItsHeading) {
  table_.Set(8, L"Cancel");
  Apply(kUtf8Mark);
  EXPECT_EQ(Read(ReportPath()), std::string(kUtf8Mark) + kNotFound + "Cancel\r\n");
}

TEST_F(CheckFileTest, ReportReplacesAnEarlierOneAndLeavesNothingElse) {
  Write(ReportPath(), std::string(5000, 'x'));
  Apply("nonsense\n?\n");
  EXPECT_EQ(Read(ReportPath()), std::string(kUnknown) + "nonsense\r\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 2);
}

TEST_F(CheckFileTest, EmptyFileReportsWhatIsStillEnglish) {
  table_ = LanguageTable();
  Apply("");
  size_t expectedSize = sizeof(kNotFound) - 1;
  for (size_t number = 0; number < kStringCount; ++number) {
    // The one text with line breaks has two characters more for each of its four.
    expectedSize += BuiltInString(number).size() + 2;
    for (const char character : BuiltInString(number)) expectedSize += character == '\r' || character == '\n';
  }
  EXPECT_EQ(Read(ReportPath()).size(), expectedSize);
}

TEST_F(CheckFileTest, FileOfMoreThanAMegabyteIsPassedOver) {
  const std::string pair = "Cancel\nAbbrechen\n";
  const size_t limit = size_t{1} << 20;
  Apply(pair + std::string(limit + 1 - pair.size(), '\n'));
  EXPECT_EQ(table_.Get(8), L"x");
  Apply(pair + std::string(limit - pair.size(), '\n'));
  EXPECT_EQ(table_.Get(8), L"Abbrechen");
}

TEST_F(CheckFileTest, FolderInItsPlaceIsPassedOver) {
  fs::create_directory(CheckPath());
  ApplyCheckFile(table_, CheckPath().wstring());
  EXPECT_EQ(table_.Get(8), L"x");
  EXPECT_FALSE(fs::exists(ReportPath()));
}

TEST_F(CheckFileTest, FileThatCannotBeConvertedIsPassedOver) {
  Write(ReportPath(), "an older report");
  // There is a length, and then nothing comes.
  const test::Patched<&::MultiByteToWideChar> refused(
      "MultiByteToWideChar",
      [](auto, auto, auto, auto, auto, LPWSTR wide, auto) { return wide == nullptr ? 1 : 0; });
  Apply("nonsense\r\nUnsinn\r\n");
  EXPECT_EQ(Read(ReportPath()), "an older report");
}

TEST_F(CheckFileTest, ReportThatCannotBeConvertedLeavesTheOlderOne) {
  Write(ReportPath(), "an older report");
  const test::Patched<&::WideCharToMultiByte> refused("WideCharToMultiByte", [](auto...) { return 0; });
  Apply("nonsense\r\nUnsinn\r\n");
  EXPECT_EQ(Read(ReportPath()), "an older report");
}

TEST_F(CheckFileTest, ReportThatCannotBeWrittenIsNot) {
  fs::create_directory(ReportPath());
  Apply("nonsense\n?\nCancel\nAbbrechen\n");
  EXPECT_EQ(table_.Get(8), L"Abbrechen");
  EXPECT_TRUE(fs::is_directory(ReportPath()));
}

}  // namespace
}  // namespace veskard
