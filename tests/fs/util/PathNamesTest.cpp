// Every operation on every family of paths and on the lengths around the old limit.
#include <gtest/gtest.h>

#include <functional>

#include "fs/util/FileInfo.h"
#include "fs/util/Files.h"
#include "fs/util/Handle.h"
#include "fs/util/Security.h"
#include "fs/util/WriteFileReplacing.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/ShareFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::NamesIn;
using test::ReadBytes;

// All that can be done to a file, from its making to its deletion, in a folder
// that holds nothing else.
void UseFile(const std::wstring& path) {
  SCOPED_TRACE(testing::Message() << path.size() << " characters: " << path.substr(0, 40) << "..."
                                  << path.substr(path.size() - 10));
  const auto file = MakeHandle(PathVector(path), HandleKind::kFile);
  ASSERT_EQ(file->Path(), path);
  ASSERT_TRUE(file->Create()) << file->LastError();
  for (const uint32_t mode : {0u, 1u, 2u, 3u, 4u, 5u}) {
    EXPECT_TRUE(file->Open(mode, 0, 0)) << mode << ": " << file->LastError();
  }
  ASSERT_TRUE(file->Open(1, 0, 0));
  EXPECT_EQ(file->Write("contents", 8), 8u);
  EXPECT_EQ(file->WriteAt("C", 1, 0), 1u);
  EXPECT_TRUE(file->Seek(0));
  char buffer[16] = {};
  EXPECT_EQ(file->Read(buffer, 16), 8u);
  EXPECT_STREQ(buffer, "Contents");
  EXPECT_TRUE(file->SetSize(4));
  EXPECT_TRUE(file->Flush(nullptr));
  EXPECT_FALSE(file->IsDeletePending());
  uint32_t error = 77;
  EXPECT_EQ(file->GetSize(&error), 4u);
  EXPECT_EQ(error, 0u);
  EXPECT_GT(file->GetModificationTime(&error), 0);
  EXPECT_EQ(error, 0u);
  file->Close();

  size_t size = 0;
  EXPECT_NE(ReadWholeFile(path, size), nullptr);
  EXPECT_EQ(size, 4u);
  for (uint32_t flags = 0; flags < 16; ++flags) {
    FileInfoImpl info(path);
    EXPECT_TRUE(info.Refresh(flags)) << flags << ": " << info.Error();
    EXPECT_EQ(info.GetSize(), 4u);
  }
  SecurityStrings strings;
  EXPECT_EQ(ReadSecurityStrings(path, strings), 0u);
  EXPECT_TRUE(file->Delete(false, &error)) << error;
  EXPECT_FALSE(Exists(path));
}

void UseStream(const std::wstring& filePath, const std::wstring& name) {
  SCOPED_TRACE(testing::Message() << filePath.size() << " characters");
  test::WriteBytes(filePath, "main");
  const auto stream = MakeHandle(PathVector(filePath + L"\\" + name), HandleKind::kStream);
  ASSERT_TRUE(stream->Open(2, 0, 0)) << stream->LastError();
  EXPECT_EQ(stream->Write("str", 3), 3u);
  stream->Close();
  EXPECT_EQ(stream->GetName(), name);
  EXPECT_EQ(stream->GetSize(nullptr), 3u);
  EXPECT_EQ(ReadBytes(filePath + L":" + name), "str");
  FileHandle file{PathVector(filePath)};
  EXPECT_TRUE(stream->CopyFrom(filePath, HandleKind::kFile));
  EXPECT_EQ(ReadBytes(filePath + L":" + name), "main");
  EXPECT_TRUE(stream->Delete(false, nullptr));
  EXPECT_EQ(ReadBytes(filePath), "main");
  EXPECT_TRUE(file.Delete(false, nullptr));
}

void UseFolder(const std::wstring& path) {
  SCOPED_TRACE(testing::Message() << path.size() << " characters");
  const auto folder = MakeHandle(PathVector(path), HandleKind::kFolder);
  ASSERT_TRUE(folder->Create()) << folder->LastError();
  EXPECT_TRUE(folder->Open(3, 0, 0)) << folder->LastError();
  folder->Close();
  EXPECT_TRUE(FileInfoImpl(path).Refresh(kRefreshByOpening));
  EXPECT_TRUE(folder->Delete(false, nullptr));
  EXPECT_FALSE(Exists(path));
  ASSERT_TRUE(folder->Create());
  test::WriteBytes(path + L"\\f", "x");
  EXPECT_TRUE(folder->Delete(true, nullptr)) << folder->LastError();
  EXPECT_FALSE(Exists(path));
}

void UseReplacement(const std::wstring& path) {
  for (const char* contents : {"one", "two"}) {
    EXPECT_TRUE(WriteFileReplacing(path.c_str(), contents, 3));
    EXPECT_EQ(ReadBytes(path), contents);
  }
  EXPECT_TRUE(MakeHandle(PathVector(path), HandleKind::kFile)->Delete(false, nullptr));
}

// Does everything below a folder, with ordinary and with uncommon names.
void UseAll(const std::wstring& folder) {
  for (const wchar_t* name : {L"plain", L"with space.and.dots", L"\x00FC\x00DF\x4E2D\x6587", L"e\x0301",
                              L"\xD83D\xDE00", L"100%s", L"[x]{y};'&$#@!", L".sync"}) {
    UseFile(folder + L"\\" + name);
    UseFolder(folder + L"\\" + name);
    UseStream(folder + L"\\" + name, L"com.nimbrel.VeskardAgent");
    UseStream(folder + L"\\" + name, L"\x00FC\x4E2D");
    UseReplacement(folder + L"\\" + name);
  }
  UseFolder(folder + L"\\" + std::wstring(80, L'\x4E2D') + L"\\b");
  DeleteTree(folder + L"\\" + std::wstring(80, L'\x4E2D'));
  EXPECT_TRUE(NamesIn(folder).empty());
}

TEST(PathNamesTest, OrdinaryPaths) {
  const test::ScratchFolder folder;
  UseAll(folder.Path());
}

TEST(PathNamesTest, PathsWithTheLongPrefix) {
  const test::ScratchFolder folder;
  UseAll(L"\\\\?\\" + folder.Path());
}

TEST(PathNamesTest, NetworkPaths) {
  const test::ShareFolder share;
  UseAll(share.Path());
}

TEST(PathNamesTest, NetworkPathsWithTheLongPrefix) {
  const test::ShareFolder share;
  UseAll(share.LongPath());
}

TEST(PathNamesTest, ANetworkFolderIsMadeBelowItsShare) {
  const test::ShareFolder share;
  for (const std::wstring& base : {share.Path(), share.LongPath()}) {
    FolderHandle folder{PathVector(base + L"\\a\\b\\c")};
    EXPECT_TRUE(folder.Create()) << folder.LastError();
    EXPECT_TRUE(Exists(base + L"\\a\\b\\c"));
    EXPECT_TRUE(DeleteTree(base + L"\\a"));
  }
  const std::wstring root = share.Path().substr(0, share.Path().rfind(L'\\'));
  FolderHandle existing{PathVector(root)};
  EXPECT_TRUE(existing.Create()) << existing.LastError();
}

TEST(PathNamesTest, LengthsAroundTheOldLimitLoseNothing) {
  constexpr size_t kNameLength = 12;
  const std::wstring name(kNameLength, L'n');
  for (const size_t length : {258u, 259u, 260u, 261u, 262u}) {
    const test::ScratchFolder scratch;
    const std::wstring base = L"\\\\?\\" + scratch.Path();
    const std::wstring folder = test::FolderForLength(base, length, kNameLength);
    ASSERT_EQ(folder.size() + 1 + kNameLength, length);
    UseFile(folder + L"\\" + name);
    UseFolder(folder + L"\\" + name);
    UseStream(folder + L"\\" + name, L"s");
    EXPECT_TRUE(NamesIn(folder).empty());
    EXPECT_TRUE(DeleteTree(base)) << length;
  }
}

TEST(PathNamesTest, FullStreamNamesAroundTheOldLimitLoseNothing) {
  const std::wstring stream = L"stream";
  for (const size_t length : {259u, 260u, 261u}) {
    const test::ScratchFolder scratch;
    const std::wstring base = L"\\\\?\\" + scratch.Path();
    const size_t fileLength = length - stream.size() - 1;
    UseStream(test::FolderForLength(base, fileLength, 4) + L"\\file", stream);
    EXPECT_TRUE(DeleteTree(base));
  }
}

TEST(PathNamesTest, ThePathOnDiskOfALongPathIsWhole) {
  const test::ScratchFolder scratch;
  const std::wstring base = L"\\\\?\\" + scratch.Path();
  // Wine answers up to about 270 characters; FinalPathTest has longer paths.
  for (const size_t length : {259u, 260u, 261u}) {
    const std::wstring path = test::FolderForLength(base, length, 5) + L"\\End.x";
    test::WriteBytes(path, "x");
    FileInfoImpl info(path);
    ASSERT_TRUE(info.Refresh(kRefreshPathOnDisk | kRefreshExactName)) << info.Error();
    EXPECT_TRUE(info.PathOnDisk().ends_with(path.substr(path.find(L"veskard-"))));
    EXPECT_TRUE(DeleteTree(base));
    test::MakeFolder(scratch.Path());
  }
}

// At the system's own limit nothing can exist: each operation says so and leaves
// nothing behind, under a cut name either.
class SystemLimitTest : public testing::TestWithParam<size_t> {
 protected:
  static std::wstring PathOfLength(const std::wstring& folder) {
    std::wstring path = L"\\\\?\\" + folder;
    while (path.size() + 202 < GetParam()) path += L"\\" + std::wstring(200, L'x');
    return path + L"\\" + std::wstring(GetParam() - path.size() - 1, L'x');
  }

  test::ScratchFolder folder_;
  const std::wstring path_ = PathOfLength(folder_.Path());
};

TEST_P(SystemLimitTest, EveryOperationFailsCleanly) {
  ASSERT_EQ(path_.size(), GetParam());
  for (const HandleKind kind :
       {HandleKind::kFile, HandleKind::kFolder, HandleKind::kSymlink, HandleKind::kStream}) {
    const auto handle = MakeHandle(PathVector(path_), kind);
    EXPECT_EQ(handle->Path(), path_);
    EXPECT_EQ(handle->GetName(), path_.substr(path_.rfind(L'\\') + 1));
    for (uint32_t mode = 0; mode < kOpenModes.size(); ++mode) {
      EXPECT_FALSE(handle->Open(mode, 0, 0));
      EXPECT_NE(handle->LastError(), 0u);
    }
    EXPECT_FALSE(handle->Delete(true, nullptr));
    EXPECT_NE(handle->LastError(), 0u);
    EXPECT_EQ(handle->GetSize(nullptr), 0u);
    EXPECT_FALSE(handle->CopyFrom(path_, HandleKind::kFile));
    EXPECT_FALSE(handle->CopyFrom(path_, HandleKind::kStream));
    EXPECT_FALSE(handle->GetStreams().has_value());
  }
  EXPECT_FALSE(MakeHandle(PathVector(path_), HandleKind::kFile)->Create());
  size_t size = 77;
  EXPECT_EQ(ReadWholeFile(path_, size), nullptr);
  EXPECT_FALSE(DeleteTree(path_));
  for (uint32_t flags = 0; flags < 16; ++flags) EXPECT_FALSE(FileInfoImpl(path_).Refresh(flags));
  SecurityStrings strings;
  EXPECT_NE(ReadSecurityStrings(path_, strings), 0u);
  EXPECT_FALSE(WriteFileReplacing(path_.c_str(), "x", 1));
  EXPECT_TRUE(NamesIn(folder_.Path()).empty());
}

TEST_P(SystemLimitTest, ALinksTargetMayBeThatLong) {
  SymlinkHandle link{PathVector(L"C:\\link")};
  EXPECT_EQ(link.Write(path_.c_str(), 0), GetParam());
  EXPECT_EQ(link.Target(), path_);
}

INSTANTIATE_TEST_SUITE_P(Lengths, SystemLimitTest, testing::Values(32766, 32767, 32768, LONGEST_NAME));

}  // namespace
}  // namespace veskard
