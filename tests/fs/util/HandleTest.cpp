#include "fs/util/Handle.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>

#include "tests/support/FailingCalls.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::MakeFolder;
using test::SetReadOnly;
using test::WriteBytes;

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

class ReadWholeFileTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file.bin";
  size_t size_ = 77;
};

TEST_F(ReadWholeFileTest, ReturnsTheBytesAndAZeroBehindThem) {
  const std::string contents("a\0b\xFF", 4);
  WriteBytes(path_, contents);
  const auto bytes = ReadWholeFile(path_, size_);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(size_, 4u);
  EXPECT_EQ(std::string(bytes.get(), 5), contents + '\0');
}

TEST_F(ReadWholeFileTest, AnEmptyFileIsOneZeroByte) {
  WriteBytes(path_, "");
  const auto bytes = ReadWholeFile(path_, size_);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(size_, 0u);
  EXPECT_EQ(bytes[0], '\0');
}

TEST_F(ReadWholeFileTest, AMissingFileIsNothing) {
  EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AFolderIsNothing) {
  EXPECT_EQ(ReadWholeFile(folder_.Path(), size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AReadOnlyFileIsReadAndStaysReadOnly) {
  WriteBytes(path_, "x");
  SetReadOnly(path_);
  EXPECT_NE(ReadWholeFile(path_, size_), nullptr);
  EXPECT_TRUE(test::IsReadOnly(path_));
}

LONGLONG pretendedSize;

BOOL WINAPI PretendSize(HANDLE, LARGE_INTEGER* size) {
  size->QuadPart = pretendedSize;
  return TRUE;
}

TEST_F(ReadWholeFileTest, AShortReadIsNothing) {
  WriteBytes(path_, "four");
  const test::ImportPatch patch(::GetModuleHandleW(nullptr), "GetFileSizeEx",
                                reinterpret_cast<void*>(&PretendSize));
  pretendedSize = 5;
  EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
  EXPECT_EQ(size_, 0u);
}

TEST_F(ReadWholeFileTest, AFileThatOneReadCannotTakeIsNothing) {
  WriteBytes(path_, "four");
  const test::ImportPatch patch(::GetModuleHandleW(nullptr), "GetFileSizeEx",
                                reinterpret_cast<void*>(&PretendSize));
  for (const LONGLONG size : {0xFFFFFFFFLL, 0x100000000LL, 0x100000004LL}) {
    pretendedSize = size;
    EXPECT_EQ(ReadWholeFile(path_, size_), nullptr);
    EXPECT_EQ(size_, 0u);
  }
}

class DeleteTreeTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring tree_ = folder_ / L"tree";

  void SetUp() override { MakeFolder(tree_); }
};

TEST_F(DeleteTreeTest, RemovesReadOnlyFilesAndReportsSuccess) {
  WriteBytes(tree_ + L"\\plain", "1");
  WriteBytes(tree_ + L"\\locked", "2");
  SetReadOnly(tree_ + L"\\locked");
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(tree_));
}

TEST_F(DeleteTreeTest, AMissingFolderIsAFailure) {
  EXPECT_FALSE(DeleteTree(folder_ / L"missing"));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(DeleteTreeTest, AnEmptyFolderGoes) {
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(tree_));
}

TEST_F(DeleteTreeTest, AFileIsNoFolder) {
  WriteBytes(tree_ + L"\\file", "1");
  EXPECT_FALSE(DeleteTree(tree_ + L"\\file"));
  EXPECT_TRUE(Exists(tree_ + L"\\file"));
}

TEST_F(DeleteTreeTest, RemovesWideAndNestedTreesAndNothingBesides) {
  WriteBytes(folder_ / L"beside", "1");
  for (int i = 0; i < 20; ++i) {
    const std::wstring sub = tree_ + L"\\" + std::to_wstring(i);
    MakeFolder(sub);
    MakeFolder(sub + L"\\.hidden");
    MakeFolder(sub + L"\\..x");
    WriteBytes(sub + L"\\.hidden\\f", "1");
    WriteBytes(sub + L"\\no extension", "1");
    WriteBytes(sub + L"\\\x00FC\x4E2D.txt", "1");
  }
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_EQ(test::NamesIn(folder_.Path()), std::vector<std::wstring>{L"beside"});
}

// FindFirstFileW where nothing may be listed at all.
HANDLE WINAPI ListNothing(LPCWSTR pattern, WIN32_FIND_DATAW*) {
  ADD_FAILURE() << "lists " << testing::PrintToString(std::wstring(pattern));
  ::SetLastError(ERROR_FILE_NOT_FOUND);
  return INVALID_HANDLE_VALUE;
}

TEST(DeleteTreeWithoutAPathTest, DeletesNothing) {
  const test::ImportPatch patch(::GetModuleHandleW(nullptr), "FindFirstFileW",
                                reinterpret_cast<void*>(&ListNothing));
  ASSERT_NE(patch.Original(), nullptr) << "the current drive would be emptied";
  EXPECT_FALSE(DeleteTree(L""));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  // Texts that give a path no components.
  for (const wchar_t* text : {L"", L"\\\\", L"\\\\?\\unc\\srv\\share\\x", L"\\\\?\\GLOBALROOT\\x"}) {
    uint32_t error = 77;
    EXPECT_FALSE(MakeHandle(PathVector(text), HandleKind::kFolder)->Delete(true, &error));
    EXPECT_EQ(error, DWORD{ERROR_PATH_NOT_FOUND});
  }
}

// Runs a function on a thread with as little stack as the system gives.
void RunOnASmallStack(const std::function<void()>& function) {
  const auto run = [](void* parameter) -> DWORD {
    (*static_cast<const std::function<void()>*>(parameter))();
    return 0;
  };
  constexpr SIZE_T kStackSize = 64 * 1024;
  const UniqueHandle thread(::CreateThread(nullptr, kStackSize, run,
                                           const_cast<void*>(static_cast<const void*>(&function)),
                                           STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
  ASSERT_EQ(::WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
}

TEST_F(DeleteTreeTest, ATreeDeeperThanTheStackGoes) {
  std::wstring path = L"\\\\?\\" + tree_;
  for (int depth = 0; depth < 300; ++depth) {
    path += L"\\d";
    MakeFolder(path);
  }
  RunOnASmallStack([this] { EXPECT_TRUE(DeleteTree(L"\\\\?\\" + tree_)); });
  EXPECT_FALSE(Exists(tree_));
}

TEST_F(DeleteTreeTest, AFileThatCannotBeDeletedFailsTheWholeButNotTheRest) {
  MakeFolder(tree_ + L"\\sub");
  WriteBytes(tree_ + L"\\sub\\held", "1");
  WriteBytes(tree_ + L"\\free", "1");
  const UniqueFile held(
      ::CreateFileW((tree_ + L"\\sub\\held").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(held);
  EXPECT_FALSE(DeleteTree(tree_));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_DIR_NOT_EMPTY});
  EXPECT_FALSE(Exists(tree_ + L"\\free"));
  EXPECT_TRUE(Exists(tree_ + L"\\sub\\held"));
}

// A listing of "tree" that shows one junction, the way NTFS does, and nothing else.
class JunctionListing {
 public:
  JunctionListing() {
    realFirst_ = reinterpret_cast<decltype(realFirst_)>(first_.Original());
    realNext_ = reinterpret_cast<decltype(realNext_)>(next_.Original());
  }

 private:
  static HANDLE WINAPI First(LPCWSTR pattern, WIN32_FIND_DATAW* entry) {
    const HANDLE search = realFirst_(pattern, entry);
    if (!std::wstring_view(pattern).ends_with(L"\\tree\\*.*")) return search;
    std::wcscpy(entry->cFileName, L"junction");
    entry->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    entry->dwReserved0 = tag;
    return listing_ = search;
  }
  static BOOL WINAPI Next(HANDLE search, WIN32_FIND_DATAW* entry) {
    return search != listing_ && realNext_(search, entry);
  }

  static inline decltype(&::FindFirstFileW) realFirst_ = nullptr;
  static inline decltype(&::FindNextFileW) realNext_ = nullptr;
  static inline HANDLE listing_ = nullptr;
  test::ImportPatch first_{::GetModuleHandleW(nullptr), "FindFirstFileW", reinterpret_cast<void*>(&First)};
  test::ImportPatch next_{::GetModuleHandleW(nullptr), "FindNextFileW", reinterpret_cast<void*>(&Next)};

 public:
  static inline DWORD tag = IO_REPARSE_TAG_MOUNT_POINT;
};

TEST_F(DeleteTreeTest, WhatALinkPointsToStays) {
  MakeFolder(tree_ + L"\\junction");
  WriteBytes(tree_ + L"\\junction\\elsewhere", "1");
  const JunctionListing listing;
  for (const DWORD tag : {IO_REPARSE_TAG_MOUNT_POINT, IO_REPARSE_TAG_SYMLINK}) {
    JunctionListing::tag = tag;
    EXPECT_FALSE(DeleteTree(tree_));
    EXPECT_TRUE(Exists(tree_ + L"\\junction\\elsewhere"));
  }
}

TEST_F(DeleteTreeTest, AFolderThatIsAReparsePointButNoLinkGoesWithItsContents) {
  constexpr DWORD kCloudFilesTag = 0x9000001A;
  MakeFolder(tree_ + L"\\junction");
  WriteBytes(tree_ + L"\\junction\\here", "1");
  const JunctionListing listing;
  JunctionListing::tag = kCloudFilesTag;
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(tree_));
}

}  // namespace
}  // namespace veskard
