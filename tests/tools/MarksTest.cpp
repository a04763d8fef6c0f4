#include "tools/marks/Marks.h"

#include <gtest/gtest.h>

#include "core/WindowsOwners.h"
#include "tests/support/ScratchFolder.h"
#include "tools/common/ToolError.h"

namespace veskard {
namespace {

std::string ReadBack(const std::wstring& path) {
  const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_TRUE(file);
  char buffer[512] = {};
  DWORD count = 0;
  ::ReadFile(file.Get(), buffer, sizeof buffer, &count, nullptr);
  return std::string(buffer, count);
}

class MarksTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
};

TEST_F(MarksTest, AFolderRecordInEachOfItsPlaces) {
  const std::wstring root = folder_ / L"Deep\\Root";
  const FolderRecord record = {
      .type = 2, .mode = 1, .disableRemoveFromAllDevices = true, .owner = "Ad\xC3\xA8le"};
  LayFolderRecord(root, record, FolderRecordSource::kFile);
  LayFolderRecord(root, record, FolderRecordSource::kStream);
  LayFolderRecord(root, record, FolderRecordSource::kTypeStream);
  const std::string bytes = "d31:disable_remove_from_all_devicesi1e4:modei1e5:owner6:Ad\xC3\xA8le4:typei2ee";
  EXPECT_EQ(ReadBack(root + L"\\.sync\\FolderType"), bytes);
  EXPECT_EQ(ReadBack(root + L"\\.sync\\ID:com.nimbrel.VeskardAgent"), bytes);
  EXPECT_EQ(ReadBack(root + L"\\.sync\\ID:_TYPE"), bytes);
}

TEST_F(MarksTest, ARootHasItsIdAndNothingElse) {
  LayRoot(folder_.Path());
  EXPECT_NE(::GetFileAttributesW((folder_ / L".sync\\ID").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(::GetFileAttributesW((folder_ / L".sync\\FolderType").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(MarksTest, WithoutAnOwnerThereIsNoEntry) {
  EXPECT_EQ(EncodeFolderRecord({}), "d31:disable_remove_from_all_devicesi0e4:modei1e4:typei2ee");
}

TEST_F(MarksTest, APlaceholdersStateInEachOfItsPlaces) {
  const std::wstring file = folder_ / L"film.mp4.ghpl";
  LayPlaceholder(file, {.progress = 45}, PlaceholderSource::kStream);
  LayPlaceholder(file, {.progress = {}, .isFolder = true}, PlaceholderSource::kPredecessorStream);
  LayPlaceholder(file, {.progress = 300}, PlaceholderSource::kDownloadStream);
  EXPECT_EQ(ReadBack(file + L":com.nimbrel.VeskardAgent"), "d10:vlk_statusi45e8:vlk_typei1ee");
  EXPECT_EQ(ReadBack(file + L":com.marlowgate.sync"), "d10:vlk_statusi4294967295e8:vlk_typei2ee");
  EXPECT_EQ(ReadBack(file + L":VLKDOWN"), std::string("\x2C\x01\0\0\0\0\0\0", 8));
}

TEST_F(MarksTest, AnExistingFileKeepsItsContent) {
  const std::wstring file = folder_ / L"film.mp4.ghpl";
  LayFile(file, "content");
  LayPlaceholder(file, {}, PlaceholderSource::kStream);
  EXPECT_EQ(ReadBack(file), "content");
}

TEST_F(MarksTest, WhatCannotBeWrittenIsAnError) {
  LayFile(folder_ / L"file", "in the way");
  EXPECT_THROW(LayRoot(folder_ / L"file"), ToolError);
}

}  // namespace
}  // namespace veskard
