#include "lang/LanguageArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/lang/ZipBuilder.h"

namespace veskard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const ZipMember kVersion = {.name = "version", .contents = "1"};

/// The diagnostics after reading "a.txt" from an archive with a good version.
std::vector<std::string> DiagnosticsFor(const ZipMember& member) {
  const std::string bytes = BuildZip({kVersion, member});
  LanguageArchive archive(bytes);
  std::wstring text = L"left from before";
  EXPECT_FALSE(archive.ReadText("a.txt", text));
  EXPECT_EQ(text, L"");
  return archive.Diagnostics();
}

TEST(LanguageArchiveTest, ReadsUtf8AsWideText) {
  const std::string bytes = BuildZip({kVersion,
                                      {.name = "a.txt",
                                       .contents = "Gr\xC3\xB6\xC3\x9F"
                                                   "e \xF0\x9F\x98\x80"}});
  LanguageArchive archive(bytes);
  std::wstring text;
  EXPECT_TRUE(archive.ReadText("a.txt", text));
  EXPECT_EQ(text, L"Gr\u00F6\u00DFe \U0001F600");
  EXPECT_THAT(archive.Diagnostics(), IsEmpty());
}

TEST(LanguageArchiveTest, ReadsTheVersionWhenOpened) {
  const std::string bytes = BuildZip({{.name = "a.txt", .contents = "text"}});
  LanguageArchive archive(bytes);
  EXPECT_THAT(archive.Diagnostics(), ElementsAre("ZIP: Can't locate [version] in zip, error -100."));
  std::wstring text;
  EXPECT_TRUE(archive.ReadText("a.txt", text));
}

TEST(LanguageArchiveTest, ContentOfTheVersionDoesNotMatter) {
  for (const char* version : {"1.2.3\n", "nonsense", "\xFF\xFE"}) {
    const std::string bytes = BuildZip({{.name = "version", .contents = version}});
    EXPECT_THAT(LanguageArchive(bytes).Diagnostics(), IsEmpty());
  }
}

TEST(LanguageArchiveTest, BytesThatAreNoArchiveLeaveADiagnostic) {
  LanguageArchive archive("these bytes are no archive");
  EXPECT_THAT(archive.MemberNames(), IsEmpty());
  EXPECT_THAT(archive.Diagnostics(), ElementsAre("ZIP: Can't locate [version] in zip, error -102."));
}

TEST(LanguageArchiveTest, MemberThatIsMissingCannotBeLocated) {
  EXPECT_THAT(DiagnosticsFor({.name = "b.txt", .contents = "x"}),
              ElementsAre("ZIP: Can't locate [a.txt] in zip, error -100."));
}

TEST(LanguageArchiveTest, MemberThatClaimsFourGigabytesHasNoInfo) {
  EXPECT_THAT(DiagnosticsFor({.name = "a.txt", .contents = "x", .claimedSize = 0xFFFFFFFE}),
              ElementsAre("ZIP: Can't get info from zip for [a.txt], error -103."));
}

TEST(LanguageArchiveTest, MemberWithADamagedHeaderCannotBeOpened) {
  EXPECT_THAT(DiagnosticsFor({.name = "a.txt", .contents = "x", .breaksLocalHeader = true}),
              ElementsAre("ZIP: Can't open [a.txt] from zip, error -103."));
}

TEST(LanguageArchiveTest, MemberWithoutBytesIsEmpty) {
  EXPECT_THAT(DiagnosticsFor({.name = "a.txt"}), ElementsAre("ZIP: Read [a.txt] from zip is empty."));
}

TEST(LanguageArchiveTest, MemberWithAWrongChecksumCannotBeClosed) {
  EXPECT_THAT(DiagnosticsFor({.name = "a.txt", .contents = "text", .claimedCrc = 1}),
              ElementsAre("ZIP: Can't close [a.txt] in zip, error -105."));
}

TEST(LanguageArchiveTest, ThreadsMayReadAtOnce) {
  const std::string contents(50'000, 'x');
  const std::string bytes =
      BuildZip({kVersion, {.name = "a.txt", .contents = contents}, {.name = "b.txt", .contents = "b"}});
  LanguageArchive archive(bytes);
  const auto read = [&archive](const char* name, size_t size) {
    for (int i = 0; i < 50; ++i) {
      std::wstring text;
      EXPECT_TRUE(archive.ReadText(name, text));
      EXPECT_EQ(text.size(), size);
    }
  };
  std::thread other(read, "a.txt", contents.size());
  read("b.txt", 1);
  other.join();
}

}  // namespace
}  // namespace veskard
