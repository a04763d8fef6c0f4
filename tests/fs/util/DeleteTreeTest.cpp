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
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::MakeFolder;
using test::Patched;
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

TEST(DeleteTreeWithoutAPathTest, DeletesNothing) {
  const Patched<&::FindFirstFileW> patch("FindFirstFileW", [](auto, LPCWSTR pattern, auto) {
    ADD_FAILURE() << "lists " << testing::PrintToString(std::wstring(pattern));
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  });
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

DWORD WINAPI RunFunction(void* parameter) {
  (*static_cast<const std::function<void()>*>(parameter))();
  return 0;
}

// Runs a function on a thread with as little stack as the system gives.
void RunOnASmallStack(const std::function<void()>& function) {
  constexpr SIZE_T kStackSize = 64 * 1024;
  const UniqueHandle thread(::CreateThread(nullptr, kStackSize, &RunFunction,
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
struct JunctionListing {
  DWORD tag = IO_REPARSE_TAG_MOUNT_POINT;
  HANDLE listing = nullptr;

  const Patched<&::FindFirstFileW> first{
      "FindFirstFileW", [this](auto original, LPCWSTR pattern, WIN32_FIND_DATAW* entry) {
        const HANDLE search = original(pattern, entry);
        if (search == listing) listing = nullptr;  // closed meanwhile, and the handle used again
        if (!std::wstring_view(pattern).ends_with(L"\\tree\\*.*")) return search;
        std::wcscpy(entry->cFileName, L"junction");
        entry->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        entry->dwReserved0 = tag;
        return listing = search;
      }};
  const Patched<&::FindNextFileW> next{"FindNextFileW", [this](auto original, HANDLE search, auto* entry) {
                                         return search != listing && original(search, entry);
                                       }};
};

TEST_F(DeleteTreeTest, WhatALinkPointsToStays) {
  MakeFolder(tree_ + L"\\junction");
  WriteBytes(tree_ + L"\\junction\\elsewhere", "1");
  JunctionListing listing;
  for (const DWORD tag : {DWORD{IO_REPARSE_TAG_MOUNT_POINT}, DWORD{IO_REPARSE_TAG_SYMLINK}, kTagNotTold}) {
    listing.tag = tag;
    EXPECT_FALSE(DeleteTree(tree_));
    EXPECT_TRUE(Exists(tree_ + L"\\junction\\elsewhere"));
  }
}

// "tree" shown as a reparse point; the calls on it are recorded, and what a link has
// beside a folder, that it can be removed although there is something behind it, is
// played.
struct ReparsePointAsRoot {
  DWORD tag = 0;
  DWORD directory = FILE_ATTRIBUTE_DIRECTORY;
  bool tagIsTold = true;
  std::vector<std::wstring> removed = {};
  int listed = 0;

  static bool IsRoot(std::wstring_view path) {
    return path.ends_with(L"\\tree") || path.ends_with(L"\\tree\\");
  }

  const Patched<&::GetFileAttributesW> attributes{
      "GetFileAttributesW", [this](auto original, LPCWSTR path) {
        return IsRoot(path) ? directory | FILE_ATTRIBUTE_REPARSE_POINT : original(path);
      }};
  const Patched<&::FindFirstFileW> first{
      "FindFirstFileW", [this](auto original, LPCWSTR pattern, WIN32_FIND_DATAW* entry) {
        if (IsRoot(pattern) && !tagIsTold) {
          ::SetLastError(ERROR_ACCESS_DENIED);
          return INVALID_HANDLE_VALUE;
        }
        const HANDLE search = original(pattern, entry);
        if (IsRoot(pattern)) {
          entry->dwFileAttributes = directory | FILE_ATTRIBUTE_REPARSE_POINT;
          entry->dwReserved0 = tag;
        } else {
          ++listed;
        }
        return search;
      }};
  const Patched<&::RemoveDirectoryW> removeFolder{"RemoveDirectoryW", [this](auto original, LPCWSTR path) {
                                                    removed.push_back(std::wstring(L"folder ") + path);
                                                    return IsRoot(path) || original(path);
                                                  }};
  const Patched<&::DeleteFileW> removeFile{"DeleteFileW", [this](auto original, LPCWSTR path) {
                                             removed.push_back(std::wstring(L"file ") + path);
                                             return IsRoot(path) || original(path);
                                           }};
};

class RootTest : public DeleteTreeTest {
 protected:
  void SetUp() override {
    DeleteTreeTest::SetUp();
    WriteBytes(inside_, "1");
  }

  const std::wstring inside_ = tree_ + L"\\elsewhere";
};

TEST_F(RootTest, ARootThatIsALinkIsRemovedAndEmptiesNothing) {
  for (const DWORD tag : {IO_REPARSE_TAG_MOUNT_POINT, IO_REPARSE_TAG_SYMLINK}) {
    ReparsePointAsRoot root{.tag = tag};
    EXPECT_TRUE(DeleteTree(tree_));
    EXPECT_EQ(root.removed, std::vector{L"folder " + tree_});
    EXPECT_EQ(root.listed, 0);
    EXPECT_TRUE(Exists(inside_));
  }
}

TEST_F(RootTest, ABackslashBehindALinkDoesNotLeadIntoIt) {
  ReparsePointAsRoot root{.tag = IO_REPARSE_TAG_MOUNT_POINT};
  EXPECT_TRUE(DeleteTree(tree_ + L"\\"));
  EXPECT_EQ(root.listed, 0);
  EXPECT_TRUE(Exists(inside_));
}

TEST_F(RootTest, ARootThatIsALinkToAFileIsRemovedAsAFile) {
  ReparsePointAsRoot root{.tag = IO_REPARSE_TAG_SYMLINK, .directory = 0};
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_EQ(root.removed, std::vector{L"file " + tree_});
  EXPECT_TRUE(Exists(inside_));
}

TEST_F(RootTest, ARootWhoseTagIsNotToldCountsAsALink) {
  ReparsePointAsRoot root;
  for (const bool told : {true, false}) {
    root.tagIsTold = told;
    EXPECT_TRUE(DeleteTree(tree_));
    EXPECT_EQ(root.listed, 0);
    EXPECT_TRUE(Exists(inside_));
  }
}

TEST_F(RootTest, ARootThatIsAReparsePointButNoLinkIsEmptied) {
  ReparsePointAsRoot root{.tag = kCloudFilesTag};
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(inside_));
}

TEST_F(DeleteTreeTest, AFolderThatIsAReparsePointButNoLinkGoesWithItsContents) {
  MakeFolder(tree_ + L"\\junction");
  WriteBytes(tree_ + L"\\junction\\here", "1");
  JunctionListing listing;
  listing.tag = kCloudFilesTag;
  EXPECT_TRUE(DeleteTree(tree_));
  EXPECT_FALSE(Exists(tree_));
}

}  // namespace
}  // namespace veskard
