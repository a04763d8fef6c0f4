#include "tools/shellprobe/MarkContent.h"

#include <gtest/gtest.h>

#include "fs/util/Handle.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"
#include "tests/support/ScratchFolder.h"
#include "tools/marks/Marks.h"

namespace veskard {
namespace {

class MarkContentTest : public testing::Test {
 protected:
  MarkContent Read(const std::string& bytes) {
    LayRoot(folder_.Path());
    LayFile(folder_ / L".sync\\FolderType", bytes);
    return ReadMarkContent(*OpenFolderMark(folder_.Path()));
  }

  test::ScratchFolder folder_;
};

TEST_F(MarkContentTest, AGoodRecordIsDumped) {
  const MarkContent content = Read("d4:modei1e4:typei2ee");
  EXPECT_EQ(content.place, folder_ / L".sync\\FolderType");
  EXPECT_EQ(content.size, 20u);
  EXPECT_EQ(content.kind, MarkKind::kDictionary);
  EXPECT_EQ(content.dump, R"({ "mode": 1, "type": 2 })");
}

TEST_F(MarkContentTest, AnOwnerIsShownAsText) {
  EXPECT_EQ(Read("d4:modei1e5:owner6:Ad\xC3\xA8le4:typei2ee").dump,
            "{ \"mode\": 1, \"owner\": \"Ad\xC3\xA8le\", \"type\": 2 }");
  EXPECT_EQ(Read("d5:owner11:HOME\\\"ann\"\ne").dump, R"({ "owner": "HOME\\\"ann\"\u000a" })");
  EXPECT_EQ(Read("d5:owner0:e").dump, R"({ "owner": "" })");
  EXPECT_EQ(Read("d5:owneri7ee").dump, R"({ "owner": 7 })");
}

TEST_F(MarkContentTest, AnOwnerThatIsNoUtf8IsShownAsItsBytes) {
  EXPECT_EQ(Read("d4:modei1e5:owner5:Ad\xE8"
                 "le4:typei2ee")
                .dump,
            R"({ "mode": 1, "owner": the bytes 41 64 E8 6C 65, "type": 2 })");
}

TEST_F(MarkContentTest, DamageIsFoundWhereItIs) {
  EXPECT_EQ(Read("").kind, MarkKind::kDamaged);
  EXPECT_EQ(Read("").goodBytes, 0u);
  EXPECT_EQ(Read("hello").goodBytes, 0u);
  EXPECT_EQ(Read("d4:modei1e4:type").goodBytes, 16u);
  EXPECT_EQ(Read("d4:modei1ex4:typei2ee").goodBytes, 10u);
  EXPECT_EQ(Read("d4:modei1e99:type").goodBytes, 10u);
  EXPECT_EQ(Read("d4:modei1").goodBytes, 9u);
  EXPECT_EQ(Read("d4:modei1x").goodBytes, 9u);
}

TEST_F(MarkContentTest, WhatIsWellFormedInTheWrongPlaceIsDamageToo) {
  EXPECT_EQ(Read("i1e").goodBytes, 0u);                    // no container
  EXPECT_EQ(Read("di1e1:ae").goodBytes, 1u);               // a key that is no text
  EXPECT_EQ(Read("d4:modee").goodBytes, 7u);               // a key without a value
  EXPECT_EQ(Read("d4:modei1e4:modei1ee").goodBytes, 10u);  // a key that comes again
  EXPECT_EQ(Read("d1:ad1:bi1ei2e1:ceee").goodBytes, 11u);  // deeper down
}

TEST_F(MarkContentTest, AListIsNoRecord) {
  const MarkContent content = Read("li1ei2ee");
  EXPECT_EQ(content.kind, MarkKind::kOtherValue);
  EXPECT_EQ(content.dump, "[ 1, 2 ]");
}

TEST_F(MarkContentTest, WhatIsTooLargeIsNotRead) {
  EXPECT_EQ(Read(std::string(kLargestMark, ' ')).kind, MarkKind::kDamaged);
  EXPECT_EQ(Read(std::string(kLargestMark + 1, ' ')).kind, MarkKind::kTooLarge);
}

TEST_F(MarkContentTest, ProgressIsShownAsItsBytes) {
  const std::wstring file = folder_ / L"a.ghpl";
  LayPlaceholder(file, {.progress = 50}, PlaceholderSource::kDownloadStream);
  const MarkContent content = ReadMarkContent(*OpenPlaceholderMark(file));
  EXPECT_EQ(content.place, file + L":VLKDOWN");
  EXPECT_EQ(content.kind, MarkKind::kProgress);
  EXPECT_EQ(content.dump, "32 00 00 00 00 00 00 00");
  LayFile(file + L":VLKDOWN", "2222");
  EXPECT_EQ(ReadMarkContent(*OpenPlaceholderMark(file)).kind, MarkKind::kTooShort);
}

TEST_F(MarkContentTest, AStreamIsNamedAsTheSystemNamesIt) {
  const std::wstring file = folder_ / L"a.ghpl";
  LayPlaceholder(file, {.progress = 45}, PlaceholderSource::kPredecessorStream);
  const MarkContent content = ReadMarkContent(*OpenPlaceholderMark(file));
  EXPECT_EQ(content.place, file + L":com.marlowgate.sync");
  EXPECT_EQ(content.dump, R"({ "vlk_status": 45, "vlk_type": 1 })");
}

TEST_F(MarkContentTest, WithoutAMarkThereIsNothingToRead) {
  EXPECT_EQ(OpenFolderMark(folder_.Path()), nullptr);
  EXPECT_EQ(OpenPlaceholderMark(folder_ / L"a.ghpl"), nullptr);
}

}  // namespace
}  // namespace veskard
