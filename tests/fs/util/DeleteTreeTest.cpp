#include "fs/util/Files.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string_view>
#include <vector>

#include "core/WindowsOwners.h"
#include "fs/util/Handle.h"
#include "tests/support/FileTools.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::MakeFolder;
using test::SetReadOnly;
using test::WriteBytes;

constexpr DWORD kTagNotTold = 0;
constexpr DWORD kCloudFilesTag = 0x9000001A;  // a reparse point, and no link

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
    if (search == listing_) listing_ = nullptr;  // closed meanwhile, and the handle used again
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
  for (const DWORD tag : {DWORD{IO_REPARSE_TAG_MOUNT_POINT}, DWORD{IO_REPARSE_TAG_SYMLINK}, kTagNotTold}) {
    JunctionListing::tag = tag;
    EXPECT_FALSE(DeleteTree(tree_));
    EXPECT_TRUE(Exists(tree_ + L"\\junction\\elsewhere"));
  }
}

// "tree" shown as a reparse point; what is done to it is noted, and what a link has
// beside a folder, that it can be removed although there is something behind it, is
// played.
class ReparsePointAsRoot {
 public:
  ReparsePointAsRoot() {
    removed.clear();
    listed = 0;
  }

  static bool IsRoot(std::wstring_view path) {
    return path.ends_with(L"\\tree") || path.ends_with(L"\\tree\\");
  }

  static inline DWORD directory = FILE_ATTRIBUTE_DIRECTORY;
  static inline DWORD tag = 0;
  static inline bool tagIsTold = true;
  static inline std::vector<std::wstring> removed;
  static inline int listed = 0;

 private:
  static DWORD WINAPI Attributes(LPCWSTR path) {
    if (IsRoot(path)) return directory | FILE_ATTRIBUTE_REPARSE_POINT;
    return self_->attributes_.CallOriginal(path);
  }
  static HANDLE WINAPI First(LPCWSTR pattern, WIN32_FIND_DATAW* entry) {
    if (!IsRoot(pattern)) {
      ++listed;
      return self_->first_.CallOriginal(pattern, entry);
    }
    if (!tagIsTold) {
      ::SetLastError(ERROR_ACCESS_DENIED);
      return INVALID_HANDLE_VALUE;
    }
    const HANDLE search = self_->first_.CallOriginal(pattern, entry);
    entry->dwFileAttributes = directory | FILE_ATTRIBUTE_REPARSE_POINT;
    entry->dwReserved0 = tag;
    return search;
  }
  static BOOL WINAPI RemoveFolder(LPCWSTR path) {
    removed.push_back(std::wstring(L"folder ") + path);
    return IsRoot(path) || self_->removeFolder_.CallOriginal(path);
  }
  static BOOL WINAPI RemoveFile(LPCWSTR path) {
    removed.push_back(std::wstring(L"file ") + path);
    return IsRoot(path) || self_->removeFile_.CallOriginal(path);
  }

  static inline ReparsePointAsRoot* self_ = nullptr;
  const HMODULE test_ = ::GetModuleHandleW(nullptr);
  test::FunctionPatch<DWORD WINAPI(LPCWSTR)> attributes_{test_, "GetFileAttributesW", &Attributes};
  test::FunctionPatch<HANDLE WINAPI(LPCWSTR, WIN32_FIND_DATAW*)> first_{test_, "FindFirstFileW", &First};
  test::FunctionPatch<BOOL WINAPI(LPCWSTR)> removeFolder_{test_, "RemoveDirectoryW", &RemoveFolder};
  test::FunctionPatch<BOOL WINAPI(LPCWSTR)> removeFile_{test_, "DeleteFileW", &RemoveFile};
  const bool isKnown_ = (self_ = this) != nullptr;
};

class RootTest : public DeleteTreeTest {
 protected:
  void SetUp() override {
    DeleteTreeTest::SetUp();
    WriteBytes(inside_, "1");
    ReparsePointAsRoot::directory = FILE_ATTRIBUTE_DIRECTORY;
    ReparsePointAsRoot::tagIsTold = true;
  }

  const std::wstring inside_ = tree_ + L"\\elsewhere";
};

TEST_F(RootTest, ARootThatIsALinkIsRemovedAndEmptiesNothing) {
  for (const DWORD tag : {IO_REPARSE_TAG_MOUNT_POINT, IO_REPARSE_TAG_SYMLINK}) {
    const ReparsePointAsRoot root;
    ReparsePointAsRoot::tag = tag;
    EXPECT_TRUE(DeleteTree(tree_));
    EXPECT_EQ(ReparsePointAsRoot::removed, std::vector{L"folder " + tree_});
    EXPECT_EQ(ReparsePointAsRoot::listed, 0);
    EXPECT_TRUE(Exists(inside_));
  }
}

TEST_F(RootTest, ABackslashBehindALinkDoesNotLeadIntoIt) {
  const ReparsePointAsRoot root;
  ReparsePointAsRoot::tag = IO_REPARSE_TAG_MOUNT_POINT;
  EXPECT_TRUE(DeleteTree(tree_ + L"\\"));
  EXPECT_EQ(ReparsePointAsRoot::listed, 0);
  EXPECT_TRUE(Exists(inside_));
}

TEST_F(RootTest, ARootThatIsALinkToAFileIsRemovedAsAFile) {
  const ReparsePointAsRoot root;
  ReparsePointAsRoot::directory = 0;
  ReparsePointAsRoot::tag = IO_REPARSE_TAG_SYMLINK;
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_EQ(ReparsePointAsRoot::removed, std::vector{L"file " + tree_});
  EXPECT_TRUE(Exists(inside_));
}

TEST_F(RootTest, ARootWhoseTagIsNotToldCountsAsALink) {
  const ReparsePointAsRoot root;
  for (const bool told : {true, false}) {
    ReparsePointAsRoot::tagIsTold = told;
    ReparsePointAsRoot::tag = 0;
    EXPECT_TRUE(DeleteTree(tree_));
    EXPECT_EQ(ReparsePointAsRoot::listed, 0);
    EXPECT_TRUE(Exists(inside_));
  }
}

TEST_F(RootTest, ARootThatIsAReparsePointButNoLinkIsEmptied) {
  const ReparsePointAsRoot root;
  ReparsePointAsRoot::tag = kCloudFilesTag;
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(inside_));
}

TEST_F(DeleteTreeTest, AFolderThatIsAReparsePointButNoLinkGoesWithItsContents) {
  MakeFolder(tree_ + L"\\junction");
  WriteBytes(tree_ + L"\\junction\\here", "1");
  const JunctionListing listing;
  JunctionListing::tag = kCloudFilesTag;
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(tree_));
}

}  // namespace
}  // namespace veskard
