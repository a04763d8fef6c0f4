#include "lang/ZipReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/lang/ZipBuilder.h"

namespace veskard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr size_t kMaxSize = ZipReader::kMaxMemberSize;

/// Reads a member of an archive; the contents must be empty after a failure.
ZipOutcome Read(const std::string& archive, const std::string& name, std::string* contents = nullptr) {
  ZipReader reader(archive);
  std::string bytes = "left from before";
  const ZipOutcome outcome = reader.ReadMember(name, bytes);
  EXPECT_TRUE(outcome.Succeeded() || bytes.empty());
  if (contents != nullptr) *contents = bytes;
  return outcome;
}

void ExpectFailure(const std::string& archive, ZipStep step, int error) {
  const ZipOutcome outcome = Read(archive, "a.txt");
  EXPECT_EQ(outcome.step, step);
  EXPECT_EQ(outcome.error, error);
}

std::string ArchiveOf(const ZipMember& member) {
  return BuildZip({member});
}

TEST(ZipReaderTest, ListsMembersInTheOrderOfTheDirectory) {
  const std::string archive =
      BuildZip({{.name = "version", .contents = "1"}, {.name = "a.txt", .contents = "A"}});
  EXPECT_THAT(ZipReader(archive).MemberNames(), ElementsAre("version", "a.txt"));
}

TEST(ZipReaderTest, ReadsStoredAndDeflatedMembers) {
  const std::string text(100'000, 'x');
  const std::string archive = BuildZip(
      {{.name = "stored", .contents = text, .deflated = false}, {.name = "deflated", .contents = text}});
  std::string contents;
  EXPECT_TRUE(Read(archive, "stored", &contents).Succeeded());
  EXPECT_EQ(contents, text);
  EXPECT_TRUE(Read(archive, "deflated", &contents).Succeeded());
  EXPECT_EQ(contents, text);
}

TEST(ZipReaderTest, ReadsTheSameMemberAgain) {
  const std::string archive = ArchiveOf({.name = "a.txt", .contents = "text"});
  ZipReader reader(archive);
  std::string contents;
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(reader.ReadMember("a.txt", contents).Succeeded());
    EXPECT_EQ(contents, "text");
  }
}

TEST(ZipReaderTest, GoesOnAfterAFailure) {
  const std::string archive =
      BuildZip({{.name = "bad", .contents = "text", .claimedCrc = 1}, {.name = "a.txt", .contents = "text"}});
  ZipReader reader(archive);
  std::string contents;
  EXPECT_FALSE(reader.ReadMember("bad", contents).Succeeded());
  EXPECT_TRUE(reader.ReadMember("a.txt", contents).Succeeded());
}

TEST(ZipReaderTest, NamesAreCaseSensitive) {
  EXPECT_EQ(Read(ArchiveOf({.name = "A.txt", .contents = "x"}), "a.txt").step, ZipStep::kLocate);
}

TEST(ZipReaderTest, OfTwoMembersWithOneNameTheFirstCounts) {
  std::string contents;
  const std::string archive =
      BuildZip({{.name = "a.txt", .contents = "first"}, {.name = "a.txt", .contents = "second"}});
  EXPECT_TRUE(Read(archive, "a.txt", &contents).Succeeded());
  EXPECT_EQ(contents, "first");
}

TEST(ZipReaderTest, MissingMemberFailsAtLocate) {
  ExpectFailure(ArchiveOf({.name = "b.txt", .contents = "x"}), ZipStep::kLocate, UNZ_END_OF_LIST_OF_FILE);
}

TEST(ZipReaderTest, BytesThatAreNoArchiveHaveNoMembers) {
  for (const std::string& bytes : {std::string(), std::string("PK"), std::string(70'000, '\0')}) {
    EXPECT_THAT(ZipReader(bytes).MemberNames(), IsEmpty());
    ExpectFailure(bytes, ZipStep::kLocate, UNZ_PARAMERROR);
  }
}

TEST(ZipReaderTest, EmptyArchiveHasNoMembers) {
  EXPECT_THAT(ZipReader(BuildZip({})).MemberNames(), IsEmpty());
  EXPECT_EQ(Read(BuildZip({}), "a.txt").step, ZipStep::kLocate);
}

TEST(ZipReaderTest, MemberThatClaimsFourGigabytesIsNotBelieved) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .claimedSize = 0xFFFFFFFE}), ZipStep::kInfo,
                UNZ_BADZIPFILE);
}

TEST(ZipReaderTest, SizeIsAcceptedUpToTheLimitOnly) {
  EXPECT_TRUE(
      Read(ArchiveOf({.name = "a.txt", .contents = std::string(kMaxSize, 'x')}), "a.txt").Succeeded());
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = std::string(kMaxSize + 1, 'x')}), ZipStep::kInfo,
                UNZ_BADZIPFILE);
}

TEST(ZipReaderTest, StreamThatInflatesToMoreThanItClaimsFails) {
  const std::string bomb = Deflate(std::string(50'000'000, '\0'));
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .packed = bomb}), ZipStep::kClose, UNZ_CRCERROR);
}

TEST(ZipReaderTest, DamagedLocalHeaderFailsAtOpen) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .breaksLocalHeader = true}), ZipStep::kOpen,
                UNZ_BADZIPFILE);
}

TEST(ZipReaderTest, UnknownMethodsFailAtOpen) {
  // 12 is the one that minizip would otherwise hand out undecoded.
  for (const uint16_t method : {uint16_t{1}, uint16_t{9}, uint16_t{12}, uint16_t{99}}) {
    ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .claimedMethod = method}), ZipStep::kOpen,
                  UNZ_BADZIPFILE);
  }
}

TEST(ZipReaderTest, EncryptedMemberFailsAtOpen) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .flags = 1}), ZipStep::kOpen, UNZ_BADZIPFILE);
}

TEST(ZipReaderTest, EmptyMemberFailsAtRead) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "", .deflated = false}), ZipStep::kRead, 0);
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = ""}), ZipStep::kRead, 0);
}

TEST(ZipReaderTest, BytesThatDoNotInflateFailAtRead) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "x", .packed = "\xFF\xFF\xFF\xFF"}), ZipStep::kRead,
                Z_DATA_ERROR);
}

TEST(ZipReaderTest, StreamThatBreaksOffFailsAtRead) {
  std::string packed = Deflate("a text that is long enough to be cut");
  packed.resize(packed.size() / 2);
  ExpectFailure(
      ArchiveOf({.name = "a.txt", .contents = "a text that is long enough to be cut", .packed = packed}),
      ZipStep::kRead, Z_BUF_ERROR);
}

TEST(ZipReaderTest, WrongChecksumFailsAtClose) {
  ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "text", .claimedCrc = 1}), ZipStep::kClose,
                UNZ_CRCERROR);
}

TEST(ZipReaderTest, FewerBytesThanClaimedFailAtClose) {
  for (const bool deflated : {false, true}) {
    ExpectFailure(ArchiveOf({.name = "a.txt", .contents = "text", .deflated = deflated, .claimedSize = 5}),
                  ZipStep::kClose, UNZ_CRCERROR);
  }
}

TEST(ZipReaderTest, NameOf255BytesIsListedAndALongerOneIsNot) {
  const std::string longest(255, 'n');
  const std::string archive =
      BuildZip({{.name = longest, .contents = "x"}, {.name = longest + "n", .contents = "x"}});
  EXPECT_THAT(ZipReader(archive).MemberNames(), ElementsAre(longest));
  EXPECT_TRUE(Read(archive, longest).Succeeded());
  EXPECT_EQ(Read(archive, longest + "n").step, ZipStep::kLocate);
}

TEST(ZipReaderTest, ExtraFieldThatLeavesTheArchiveFails) {
  // A header of an unknown field that claims 65535 bytes behind it.
  const std::string field("\x99\x99\xFF\xFF", 4);
  const std::string archive = ArchiveOf({.name = "a.txt", .contents = "x", .extraField = field});
  EXPECT_FALSE(Read(archive, "a.txt").Succeeded());
}

TEST(ZipReaderTest, ArchiveTruncatedAnywhereNeverGivesAWrongText) {
  const std::string archive =
      BuildZip({{.name = "version", .contents = "1"}, {.name = "a.txt", .contents = "text"}});
  for (size_t size = 0; size < archive.size(); ++size) {
    std::string contents;
    const bool isRead = Read(archive.substr(0, size), "a.txt", &contents).Succeeded();
    EXPECT_EQ(contents, isRead ? "text" : "") << size;
  }
}

TEST(ZipReaderTest, ArchiveWithAnyByteChangedNeverGivesAWrongText) {
  const std::string archive =
      BuildZip({{.name = "version", .contents = "1"}, {.name = "a.txt", .contents = "text"}});
  for (size_t at = 0; at < archive.size(); ++at) {
    for (const unsigned change : {0x01u, 0x80u, 0xFFu}) {
      std::string damaged = archive;
      damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ change);
      std::string contents;
      const bool isRead = Read(damaged, "a.txt", &contents).Succeeded();
      EXPECT_EQ(contents, isRead ? "text" : "") << at;
      ZipReader(damaged).MemberNames();
    }
  }
}

}  // namespace
}  // namespace veskard
