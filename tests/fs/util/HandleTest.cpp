#include "fs/util/Handle.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace veskard {
namespace {

TEST(MakeHandleTest, MakesAClosedHandleOfEachKind) {
  struct Row {
    HandleKind asked;
    HandleKind made;
  };
  constexpr Row kRows[] = {{HandleKind::kFile, HandleKind::kFile},
                           {HandleKind::kFolder, HandleKind::kFolder},
                           {HandleKind::kSymlink, HandleKind::kSymlink},
                           {HandleKind::kFileSecondCode, HandleKind::kFile},
                           {HandleKind::kStream, HandleKind::kStream}};
  for (const Row& row : kRows) {
    const auto handle = MakeHandle(PathVector(L"C:\\a\\\\b.txt\\"), row.asked);
    EXPECT_EQ(handle->GetKind(), row.made);
    EXPECT_EQ(handle->Path(), L"C:\\a\\b.txt");
    EXPECT_FALSE(handle->IsOpen());
    EXPECT_EQ(handle->Mode(), 0xFFFFFFFF);
    EXPECT_EQ(handle->LastError(), 0u);
    EXPECT_EQ(handle->OpenFlag(), 0);
  }
}

TEST(MakeHandleTest, TheClassesAreThoseOfTheKinds) {
  const PathVector path(L"C:\\a\\b");
  EXPECT_NE(dynamic_cast<FileHandle*>(MakeHandle(path, HandleKind::kFileSecondCode).get()), nullptr);
  EXPECT_NE(dynamic_cast<FolderHandle*>(MakeHandle(path, HandleKind::kFolder).get()), nullptr);
  EXPECT_NE(dynamic_cast<SymlinkHandle*>(MakeHandle(path, HandleKind::kSymlink).get()), nullptr);
  EXPECT_NE(dynamic_cast<StreamHandle*>(MakeHandle(path, HandleKind::kStream).get()), nullptr);
  static_assert(std::is_base_of_v<FileHandle, FolderHandle> && std::is_base_of_v<FileHandle, SymlinkHandle>);
  static_assert(std::is_base_of_v<SyncHandle, StreamHandle> && !std::is_base_of_v<FileHandle, StreamHandle>);
}

TEST(MakeHandleTest, KeepsTheLongPathPrefixAndUncNames) {
  for (const wchar_t* path : {L"\\\\?\\C:\\a\\b", L"\\\\?\\UNC\\srv\\share\\b", L"\\\\srv\\share\\b"}) {
    EXPECT_EQ(MakeHandle(PathVector(path), HandleKind::kFile)->Path(), path);
  }
}

TEST(MakeHandleTest, ACloudPathKeepsItsOwnSeparator) {
  EXPECT_EQ(MakeHandle(PathVector(L"cloud:/a/b/c/d"), HandleKind::kFile)->Path(), L"cloud://a/b/c/d");
}

TEST(MakeHandleDeathTest, AnUnknownKindStopsTheProcess) {
  for (const uint32_t kind : {0u, 6u, 0xFFFFFFFFu}) {
    EXPECT_DEATH((void)MakeHandle(PathVector(L"C:\\a"), static_cast<HandleKind>(kind)),
                 "assert failed fs.util.Handle:72 \\(34013186\\)");
  }
}

}  // namespace
}  // namespace veskard
