#include "fs/util/DeleteTree.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string_view>

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
