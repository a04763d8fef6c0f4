// What read-only files and forbidden folders do. Run without the right to override
// permissions (scripts/wine-run-restricted.sh): with it nothing here is refused.
#include <windows.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include "core/WindowsOwners.h"
#include "fs/util/FileHandle.h"
#include "fs/util/FileInfo.h"
#include "fs/util/Files.h"
#include "fs/util/FolderHandle.h"
#include "fs/util/OpenMode.h"
#include "fs/util/Security.h"
#include "fs/util/StreamHandle.h"
#include "fs/util/WriteFileReplacing.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::Exists;
using test::FailedCall;
using test::IsReadOnly;
using test::ReadBytes;
using test::SetReadOnly;
using test::WriteBytes;

class PermissionTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file.txt";
  FileHandle file_{PathVector(path_)};
  uint32_t error_ = 77;
};

TEST_F(PermissionTest, TheRightToOverrideIsDropped) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_FALSE(OpenByMode(path_, 1, 0));
  ASSERT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "nothing below would be shown";
}

TEST_F(PermissionTest, AWritingModeMakesAReadOnlyFileWritableForGood) {
  for (const uint32_t mode : {1u, 2u, 4u, 5u}) {
    WriteBytes(path_, "old");
    SetReadOnly(path_);
    EXPECT_TRUE(file_.Open(mode, 0, 0)) << mode;
    EXPECT_EQ(file_.LastError(), 0u);
    EXPECT_EQ(file_.Mode(), mode);
    EXPECT_EQ(file_.Write("X", 1), 1u);
    file_.Close();
    EXPECT_FALSE(IsReadOnly(path_)) << mode;
    EXPECT_TRUE(::DeleteFileW(path_.c_str()));
  }
}

TEST_F(PermissionTest, TheOtherAttributesSurviveTheLossOfReadOnly) {
  WriteBytes(path_, "old");
  ::SetFileAttributesW(path_.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  const DWORD before = ::GetFileAttributesW(path_.c_str());
  EXPECT_TRUE(file_.Open(1, 0, 0));
  EXPECT_EQ(::GetFileAttributesW(path_.c_str()), before & ~DWORD{FILE_ATTRIBUTE_READONLY});
}

TEST_F(PermissionTest, CreateMakesAReadOnlyFileWritable) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_TRUE(file_.Create());
  EXPECT_EQ(ReadBytes(path_), "");
  EXPECT_FALSE(IsReadOnly(path_));
}

TEST_F(PermissionTest, AReadingModeLeavesTheReadOnlyAttributeAlone) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  for (const uint32_t mode : {0u, 3u}) {
    EXPECT_TRUE(file_.Open(mode, 0, 0));
    EXPECT_TRUE(IsReadOnly(path_));
  }
}

TEST_F(PermissionTest, DeletingMakesAReadOnlyFileWritableFirst) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_FALSE(::DeleteFileW(path_.c_str()));
  EXPECT_TRUE(file_.Delete(false, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(Exists(path_));
}

TEST_F(PermissionTest, AReadOnlyStreamIsNotMadeWritable) {
  WriteBytes(path_ + L":s", "old");
  SetReadOnly(path_ + L":s");
  StreamHandle stream{PathVector(path_ + L"\\s")};
  for (const uint32_t mode : {1u, 2u, 4u, 5u}) {
    EXPECT_FALSE(stream.Open(mode, 0, 0)) << mode;
    EXPECT_EQ(stream.LastError(), 5u);
  }
  EXPECT_TRUE(IsReadOnly(path_ + L":s"));
  EXPECT_TRUE(stream.Open(0, 0, 0));
}

TEST_F(PermissionTest, ACopyOverAReadOnlyFileFailsWith5) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  WriteBytes(folder_ / L"source", "new");
  EXPECT_FALSE(file_.CopyFrom(folder_ / L"source", HandleKind::kFile));
  EXPECT_EQ(file_.LastError(), 5u);
  EXPECT_EQ(ReadBytes(path_), "old");
}

TEST_F(PermissionTest, AStreamIsCopiedIntoAReadOnlyFile) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  WriteBytes(folder_ / L"source:s", "new");
  EXPECT_TRUE(file_.CopyFrom(folder_ / L"source\\s", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(path_), "new");
}

TEST_F(PermissionTest, TheTreeIsDeletedWithItsReadOnlyFiles) {
  const std::wstring tree = folder_ / L"tree";
  ASSERT_TRUE(FolderHandle{PathVector(tree + L"\\sub")}.Create());
  for (const wchar_t* name : {L"\\a", L"\\sub\\b"}) {
    WriteBytes(tree + name, "1");
    SetReadOnly(tree + name);
    EXPECT_FALSE(::DeleteFileW((tree + name).c_str()));
  }
  EXPECT_TRUE(DeleteTree(tree));
  EXPECT_FALSE(Exists(tree));
}

// ---- Replacing.

TEST_F(PermissionTest, AReadOnlyFileIsNotReplacedAndThatCountsAsSuccess) {
  WriteBytes(path_, "old");
  SetReadOnly(path_);
  EXPECT_TRUE(WriteFileReplacing(path_.c_str(), "new", 3));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_TRUE(IsReadOnly(path_));
  EXPECT_EQ(test::NamesIn(folder_.Path()), std::vector<std::wstring>{L"file.txt"});
}

// ---- Every call of the second try failing in turn.

class RefusedOnceTest : public PermissionTest {
 protected:
  test::WatchedCalls calls_{"CreateFileW", "DeleteFileW", "GetFileAttributesW", "SetFileAttributesW"};

  void Prepare() {
    file_.Close();
    if (Exists(path_)) SetReadOnly(path_, false);
    WriteBytes(path_, "old");
    SetReadOnly(path_);
  }

  // What stays recorded: a failing try's own error; for a failing look at the
  // attributes, that of the try before it.
  static uint32_t Recorded(const FailedCall& failed) {
    if (failed.number == 0) return 0;
    const bool attributes = failed.Is("GetFileAttributesW") || failed.Is("SetFileAttributesW");
    return attributes ? ERROR_ACCESS_DENIED : test::kInjectedError;
  }
};

TEST_F(RefusedOnceTest, OpeningRecordsTheTryThatCounted) {
  bool opened = false;
  uint32_t error = 0;
  const size_t count =
      calls_.FailEach([this] { Prepare(); },
                      [&] {
                        opened = file_.Open(1, 0, 0);
                        error = file_.LastError();
                        file_.Close();
                      },
                      [&](const FailedCall& failed) {
                        EXPECT_EQ(opened, failed.number == 0) << failed;
                        EXPECT_EQ(error, Recorded(failed)) << failed;
                        EXPECT_EQ(ReadBytes(path_), "old");
                        EXPECT_EQ(IsReadOnly(path_), failed.number != 0 && failed.number < 4);
                      });
  EXPECT_EQ(count, 4u);
}

TEST_F(RefusedOnceTest, DeletingRecordsTheTryThatCounted) {
  bool deleted = false;
  const size_t count = calls_.FailEach([this] { Prepare(); }, [&] { deleted = file_.Delete(false, &error_); },
                                       [&](const FailedCall& failed) {
                                         EXPECT_EQ(deleted, failed.number == 0) << failed;
                                         EXPECT_EQ(file_.LastError(), Recorded(failed)) << failed;
                                         EXPECT_EQ(error_, Recorded(failed)) << failed;
                                         EXPECT_EQ(Exists(path_), !deleted) << failed;
                                       });
  EXPECT_EQ(count, 4u);
}

// ---- Forbidden folders.

// A folder that gives everyone only these rights. It is opened before: a folder
// that may not be read cannot be opened to give the rights back.
class Forbidden {
 public:
  Forbidden(const std::wstring& path, DWORD rights)
      : folder_(::CreateFileW(path.c_str(), WRITE_DAC | READ_CONTROL, kShareEverything, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {
    Allow(rights);
  }
  ~Forbidden() { Allow(FILE_ALL_ACCESS); }

 private:
  void Allow(DWORD rights) const {
    const std::wstring text = L"D:P(A;;" + std::to_wstring(rights) + L";;;WD)";
    UniqueLocalMemory descriptor;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(
        text.c_str(), SDDL_REVISION_1, reinterpret_cast<void**>(descriptor.Out()), nullptr));
    ASSERT_TRUE(::SetKernelObjectSecurity(folder_.Get(), DACL_SECURITY_INFORMATION, descriptor.Get()));
  }

  UniqueFile folder_;
};

class ForbiddenFolderTest : public PermissionTest {
 protected:
  const std::wstring outer_ = folder_ / L"outer";
  const std::wstring inner_ = outer_ + L"\\Inner";
  const std::wstring innerFile_ = outer_ + L"\\File";

  void SetUp() override {
    ASSERT_TRUE(FolderHandle{PathVector(inner_)}.Create());
    WriteBytes(innerFile_, "12345");
  }
};

constexpr DWORD kAllButListing = FILE_ALL_ACCESS & ~DWORD{FILE_LIST_DIRECTORY};
constexpr DWORD kAllButAdding = FILE_ALL_ACCESS & ~DWORD{FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY};
constexpr DWORD kNothing = WRITE_DAC | READ_CONTROL;

TEST_F(ForbiddenFolderTest, WhatLiesInAFolderThatCannotBeListedIsDescribedByOpeningIt) {
  const Forbidden forbidden(outer_, kAllButListing);
  WIN32_FIND_DATAW entry;
  ASSERT_FALSE(UniqueFind(::FindFirstFileW(inner_.c_str(), &entry)));
  ASSERT_EQ(::GetLastError(), 5u);
  FileInfoImpl folder(inner_);
  EXPECT_TRUE(folder.Refresh(0));
  EXPECT_TRUE(folder.IsDirectory());
  EXPECT_EQ(folder.Error(), 5u);
  EXPECT_TRUE(folder.Exists());
  FileInfoImpl file(innerFile_);
  EXPECT_TRUE(file.Refresh(kRefreshExactName));
  EXPECT_EQ(file.GetSize(), 5u);
  EXPECT_EQ(file.LinkCount(), 1u);
  EXPECT_EQ(FileHandle{PathVector(innerFile_)}.GetSize(&error_), 5u);
  EXPECT_EQ(error_, 5u);
}

TEST_F(ForbiddenFolderTest, WhatMayNotBeLookedAtExistsButIsNoFile) {
  const Forbidden forbidden(outer_, kNothing);
  const auto info = MakeFileInfo(innerFile_);
  EXPECT_EQ(info->Error(), 5u);
  EXPECT_TRUE(info->Exists());
  EXPECT_FALSE(info->IsFile());
  EXPECT_EQ(info->GetVolumeSerial(), -1);
  SecurityStrings strings;
  EXPECT_EQ(ReadSecurityStrings(innerFile_, strings), 5u);
  size_t size = 77;
  EXPECT_EQ(ReadWholeFile(innerFile_, size), nullptr);
  EXPECT_EQ(size, 0u);
}

TEST_F(ForbiddenFolderTest, NothingIsMadeWhereNothingMayBeAdded) {
  const Forbidden forbidden(outer_, kAllButAdding);
  FileHandle file{PathVector(outer_ + L"\\new")};
  EXPECT_FALSE(file.Create());
  EXPECT_EQ(file.LastError(), 5u);
  EXPECT_FALSE(file.Open(1, 0, 0));
  EXPECT_EQ(file.LastError(), 5u);
  FolderHandle folder{PathVector(outer_ + L"\\new\\deep")};
  EXPECT_FALSE(folder.Create());
  EXPECT_EQ(folder.LastError(), 5u);
  EXPECT_FALSE(WriteFileReplacing((outer_ + L"\\new").c_str(), "x", 1));
  EXPECT_FALSE(Exists(outer_ + L"\\new"));
}

TEST_F(ForbiddenFolderTest, AFileThatMayNotHaveASideFileIsLeftAlone) {
  const Forbidden forbidden(outer_, kAllButAdding);
  EXPECT_FALSE(WriteFileReplacing(innerFile_.c_str(), "new", 3));
  EXPECT_EQ(ReadBytes(innerFile_), "12345");
}

TEST_F(ForbiddenFolderTest, FoldersAreMadeBelowOneThatCannotBeListed) {
  const Forbidden forbidden(outer_, kAllButListing);
  FolderHandle folder{PathVector(inner_ + L"\\a\\b")};
  EXPECT_TRUE(folder.Create()) << folder.LastError();
  EXPECT_TRUE(Exists(inner_ + L"\\a\\b"));
}

TEST_F(ForbiddenFolderTest, ATreeThatMayNotBeListedStays) {
  const Forbidden forbidden(outer_, kAllButListing);
  EXPECT_FALSE(DeleteTree(outer_));
  EXPECT_TRUE(Exists(innerFile_));
}

}  // namespace
}  // namespace veskard
