// Each Windows call of each operation fails in turn: the results and
// recorded, that no handle stays open, and that no contents are lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "fs/util/FileInfo.h"
#include "fs/util/Files.h"
#include "fs/util/Handle.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/Security.h"
#include "tests/fs/util/AllCalls.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::FailedCall;
using test::kInjectedError;
using test::ReadBytes;
using test::WriteBytes;

class CallFailureTest : public testing::Test {
 protected:
  CallFailureTest() { Nt().queryInformationFile = &ListOneStream; }
  ~CallFailureTest() override { Nt().queryInformationFile = realQuery_; }

  // One stream, ":s:$DATA" of 3 bytes.
  static NTSTATUS NTAPI ListOneStream(HANDLE, IO_STATUS_BLOCK*, void* answer, ULONG, ULONG) {
    const wchar_t name[] = L":s:$DATA";
    const ULONG header[] = {0, sizeof(name) - sizeof(*name), 3, 0, 8, 0};
    std::memcpy(answer, header, sizeof(header));
    std::memcpy(static_cast<char*>(answer) + sizeof(header), name, header[1]);
    return 0;
  }

  struct Operation {
    const char* name;
    HandleKind kind;
    uint32_t openMode;  // kModeClosed: the operation starts with a closed handle
    std::function<bool(SyncHandle&)> run;
    size_t calls;
    std::vector<const char*> tolerated = {};  // calls whose failure does not matter
    size_t toleratedFirst = 0;                // and how many at the beginning
  };

  void RunWithEachFailure(const Operation& operation) {
    const std::wstring path = operation.kind == HandleKind::kStream ? path_ + L"\\s" : path_;
    std::shared_ptr<SyncHandle> handle;
    bool done = false;
    const size_t calls = all_.calls.FailEach(
        [&] {
          handle.reset();
          WriteBytes(path_, "old");
          WriteBytes(path_ + L":s", "str");
          WriteBytes(source_, "new");
          handle = MakeHandle(PathVector(path), operation.kind);
          if (operation.openMode != kModeClosed) {
            EXPECT_TRUE(handle->Open(operation.openMode, 0, 0));
          }
        },
        [&] {
          done = operation.run(*handle);
          if (operation.openMode == kModeClosed && handle->IsOpen()) handle->Close();
        },
        [&](const FailedCall& failed) { Check(operation, failed, *handle, done); });
    EXPECT_EQ(calls, operation.calls) << operation.name;
  }

  void Check(const Operation& operation, const FailedCall& failed, const SyncHandle& handle, bool done) {
    const bool tolerated = failed.number <= operation.toleratedFirst ||
                           std::any_of(operation.tolerated.begin(), operation.tolerated.end(),
                                       [&](const char* name) { return failed.Is(name); });
    EXPECT_EQ(done, tolerated) << operation.name << ", " << failed;
    EXPECT_EQ(handle.LastError(), tolerated ? 0 : kInjectedError) << operation.name << ", " << failed;
  }

  test::AllCalls all_;
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";
  const std::wstring source_ = folder_ / L"source";
  const NtQueryInformationFileFunction realQuery_ = Nt().queryInformationFile;
};

// Opens and reports, since the harness closes what an operation opened.
bool OpenIn(uint32_t mode, SyncHandle& handle) {
  const bool opened = handle.Open(mode, 0, 0);
  EXPECT_EQ(opened, handle.IsOpen());
  return opened;
}

TEST_F(CallFailureTest, EveryOperationOfAnOpenHandleRecordsEachFailure) {
  static char buffer[16];
  for (const HandleKind kind : {HandleKind::kFile, HandleKind::kStream}) {
    const Operation kOperations[] = {
        {"Seek", kind, 1, [](SyncHandle& h) { return h.Seek(1); }, 1},
        {"SetSize", kind, 1, [](SyncHandle& h) { return h.SetSize(1); }, 1},
        {"Read", kind, 1, [](SyncHandle& h) { return h.Read(buffer, 3) == 3; }, 1},
        {"ReadAt", kind, 1, [](SyncHandle& h) { return h.ReadAt(buffer, 2, 1) == 2; }, 1},
        {"Write", kind, 1, [](SyncHandle& h) { return h.Write("x", 1) == 1; }, 1},
        {"WriteAt", kind, 1, [](SyncHandle& h) { return h.WriteAt("x", 1, 1) == 1; }, 1},
        {"Flush", kind, 1,
         [](SyncHandle& h) {
           uint32_t error = 77;
           const bool done = h.Flush(&error);
           EXPECT_EQ(error, h.LastError());
           return done;
         },
         1},
        {"CancelIo", kind, 1, [](SyncHandle& h) { return h.CancelIo(); }, 1},
    };
    for (const Operation& operation : kOperations) RunWithEachFailure(operation);
  }
}

TEST_F(CallFailureTest, OpeningRecordsEachFailure) {
  for (const HandleKind kind : {HandleKind::kFile, HandleKind::kStream}) {
    for (const uint32_t mode : {0u, 1u, 2u, 3u, 5u}) {
      RunWithEachFailure({"Open", kind, kModeClosed, [mode](SyncHandle& h) { return OpenIn(mode, h); }, 1});
    }
    RunWithEachFailure({"append", kind, kModeClosed, [](SyncHandle& h) { return OpenIn(4, h); }, 2});
  }
}

TEST_F(CallFailureTest, QuestionsAboutTheDiskRecordEachFailure) {
  const auto size = [](SyncHandle& h) {
    uint32_t error = 77;
    const uint64_t bytes = h.GetSize(&error);
    EXPECT_EQ(error, h.LastError());
    return bytes == 3;
  };
  const auto time = [](SyncHandle& h) {
    uint32_t error = 77;
    const int64_t seconds = h.GetModificationTime(&error);
    EXPECT_EQ(error, h.LastError());
    return seconds != 0;
  };
  const auto streams = [](SyncHandle& h) { return h.GetStreams().has_value(); };
  RunWithEachFailure({"GetSize", HandleKind::kFile, kModeClosed, size, 1});
  RunWithEachFailure({"GetSize", HandleKind::kStream, kModeClosed, size, 2});
  RunWithEachFailure({"GetModificationTime", HandleKind::kFile, kModeClosed, time, 1});
  RunWithEachFailure({"GetStreams", HandleKind::kFile, kModeClosed, streams, 2, {"FindFirstFileExW"}});
}

TEST_F(CallFailureTest, DeletingAndCreatingRecordEachFailure) {
  const auto remove = [](SyncHandle& h) {
    uint32_t error = 77;
    const bool done = h.Delete(false, &error);
    EXPECT_EQ(error, h.LastError());
    return done;
  };
  RunWithEachFailure({"Delete", HandleKind::kFile, kModeClosed, remove, 1});
  RunWithEachFailure({"Delete", HandleKind::kSymlink, kModeClosed, remove, 1});
  RunWithEachFailure({"Delete", HandleKind::kStream, kModeClosed, remove, 1});
  RunWithEachFailure({"Create", HandleKind::kFile, kModeClosed, [](SyncHandle& h) { return h.Create(); }, 1});
}

BOOL WINAPI GrantValidData(HANDLE, LONGLONG) {
  return TRUE;
}

TEST_F(CallFailureTest, SetValidDataRecordsEachFailure) {
  // The undisturbed call succeeds without the privilege.
  test::AnswerBy("SetFileValidData", reinterpret_cast<void*>(&GrantValidData));
  RunWithEachFailure(
      {"SetValidData", HandleKind::kFile, 1, [](SyncHandle& h) { return h.SetValidData(5); }, 2});
  test::StopAnswering();
}

// Whether a copy would take its own source: the full names of both, and their files.
constexpr size_t kFullNames = 4;
constexpr size_t kLookingForItself = kFullNames + 4;

TEST_F(CallFailureTest, CopyingRecordsEachFailureAndNeverReportsPartAsSuccess) {
  const auto copy = [this](HandleKind kind) {
    return [this, kind](SyncHandle& h) {
      const std::wstring path = kind == HandleKind::kStream ? source_ + L"\\s" : source_;
      const bool done = h.CopyFrom(path, kind);
      EXPECT_FALSE(h.IsOpen());
      return done;
    };
  };
  WriteBytes(source_ + L":s", "new");
  RunWithEachFailure({"copy",
                      HandleKind::kFile,
                      kModeClosed,
                      copy(HandleKind::kFile),
                      kLookingForItself + 1,
                      {},
                      kLookingForItself});
  EXPECT_EQ(ReadBytes(path_), "new");
  // open source, open target, read, write, read the end, flush
  RunWithEachFailure({"copy",
                      HandleKind::kFile,
                      kModeClosed,
                      copy(HandleKind::kStream),
                      kLookingForItself + 6,
                      {},
                      kLookingForItself});
  EXPECT_EQ(ReadBytes(path_), "new");
  RunWithEachFailure(
      {"copy", HandleKind::kStream, kModeClosed, copy(HandleKind::kFile), kFullNames + 6, {}, kFullNames});
  EXPECT_EQ(ReadBytes(path_ + L":s"), "new");
  RunWithEachFailure({"copy",
                      HandleKind::kStream,
                      kModeClosed,
                      copy(HandleKind::kStream),
                      kLookingForItself + 6,
                      {},
                      kLookingForItself});
  EXPECT_EQ(ReadBytes(path_ + L":s"), "new");
}

TEST_F(CallFailureTest, ASourceOrTargetThatFailsToOpenCostsNothing) {
  constexpr size_t kOpeningTheSource = kLookingForItself + 1;
  constexpr size_t kOpeningTheTarget = kLookingForItself + 2;
  for (const HandleKind kind : {HandleKind::kFile, HandleKind::kStream}) {
    const std::wstring name = kind == HandleKind::kStream ? path_ + L":s" : path_;
    WriteBytes(path_, "old");
    WriteBytes(source_, "main");
    WriteBytes(source_ + L":s", "new");
    std::shared_ptr<SyncHandle> handle;
    all_.calls.FailEach(
        [&] {
          WriteBytes(name, "old");
          handle = MakeHandle(PathVector(kind == HandleKind::kStream ? path_ + L"\\s" : path_), kind);
        },
        [&] { handle->CopyFrom(source_ + L"\\s", HandleKind::kStream); },
        [&](const FailedCall& failed) {
          if (failed.number == kOpeningTheSource || failed.number == kOpeningTheTarget) {
            EXPECT_EQ(ReadBytes(name), "old") << failed;
          }
        });
  }
}

TEST_F(CallFailureTest, AFolderChainFailsOnlyWhereAFolderCannotBeMade) {
  FolderHandle folder{PathVector(folder_ / L"a\\b\\c")};
  bool done = false;
  const size_t calls =
      all_.calls.FailEach([&] { DeleteTree(folder_ / L"a"); }, [&] { done = folder.Create(); },
                          [&](const FailedCall& failed) {
                            const bool refused = failed.Is("CreateDirectoryW");
                            EXPECT_EQ(done, !refused) << failed;
                            EXPECT_EQ(folder.LastError(), refused ? kInjectedError : 0);
                            EXPECT_EQ(test::Exists(folder.Path()), done) << failed;
                          });
  EXPECT_GE(calls, 6u);
}

TEST_F(CallFailureTest, FolderDeletionRecordsItsFailure) {
  test::MakeFolder(folder_ / L"sub");
  FolderHandle folder{PathVector(folder_ / L"sub")};
  bool done = false;
  all_.calls.FailEach([&] { folder.Create(); }, [&] { done = folder.Delete(false, nullptr); },
                      [&](const FailedCall& failed) {
                        EXPECT_EQ(done, failed.number == 0) << failed;
                        EXPECT_EQ(folder.LastError(), failed.error);
                      });
}

TEST_F(CallFailureTest, DeletingATreeFailsWithEachFailureAndCanBeDoneAgain) {
  const std::wstring tree = folder_ / L"tree";
  bool done = false;
  DWORD error = 0;
  const size_t calls = all_.calls.FailEach(
      [&] {
        DeleteTree(tree);
        FolderHandle{PathVector(tree + L"\\sub")}.Create();
        WriteBytes(tree + L"\\sub\\file", "1");
        WriteBytes(tree + L"\\file", "1");
        WriteBytes(source_, "beside");
      },
      [&] {
        done = DeleteTree(tree);
        error = ::GetLastError();
      },
      [&](const FailedCall& failed) {
        // A failing call is the end of a listing: failing it changes nothing.
        EXPECT_EQ(done, !test::Exists(tree)) << failed;
        if (!done) {
          EXPECT_TRUE(error == kInjectedError || error == ERROR_DIR_NOT_EMPTY) << failed << ": " << error;
          EXPECT_TRUE(DeleteTree(tree)) << failed;
        }
        EXPECT_EQ(ReadBytes(source_), "beside");
      });
  EXPECT_GE(calls, 12u);
}

TEST_F(CallFailureTest, ReadingAWholeFileGivesNothingOnEachFailure) {
  WriteBytes(path_, "old");
  size_t size = 0;
  std::unique_ptr<char[]> bytes;
  const size_t calls = all_.calls.FailEach([] {}, [&] { bytes = ReadWholeFile(path_, size); },
                                           [&](const FailedCall& failed) {
                                             EXPECT_EQ(bytes != nullptr, failed.number == 0) << failed;
                                             EXPECT_EQ(size, failed.number == 0 ? 3u : 0u) << failed;
                                           });
  EXPECT_EQ(calls, 3u);
}

bool IsTolerated(const FailedCall& failed) {
  // An alias that cannot be expanded stays an alias.
  return failed.number == 0 || failed.Is("ConvertStringSidToSidW") || failed.Is("ConvertSidToStringSidW") ||
         failed.Is("ConvertStringSecurityDescriptorToSecurityDescriptorW");
}

TEST_F(CallFailureTest, RefreshRecordsEachFailureUnderEveryCombinationOfFlags) {
  WriteBytes(path_, "old");
  for (uint32_t flags = 0; flags < 16; ++flags) {
    std::unique_ptr<FileInfoImpl> info;
    bool done = false;
    const size_t calls = all_.calls.FailEach(
        [&] { info = std::make_unique<FileInfoImpl>(path_); }, [&] { done = info->Refresh(flags); },
        [&](const FailedCall& failed) {
          EXPECT_EQ(done, IsTolerated(failed)) << flags << failed;
          EXPECT_EQ(info->Error(), done ? 0 : kInjectedError) << flags << ", " << failed;
        });
    EXPECT_GE(calls, 1u);
  }
}

TEST_F(CallFailureTest, ReadingStreamsRecordsEachFailure) {
  WriteBytes(path_, "old");
  std::unique_ptr<FileInfoImpl> info;
  bool done = false;
  const size_t calls = all_.calls.FailEach([&] { info = std::make_unique<FileInfoImpl>(path_); },
                                           [&] { done = info->ReadStreams(); },
                                           [&](const FailedCall& failed) {
                                             EXPECT_EQ(done, failed.number == 0);
                                             EXPECT_EQ(info->Error(), failed.error);
                                             EXPECT_EQ(info->GetStreams().size(), done ? 1u : 0u);
                                           });
  EXPECT_EQ(calls, 1u);
}

TEST_F(CallFailureTest, ReadingSecurityReturnsEachFailure) {
  WriteBytes(path_, "old");
  SecurityStrings strings;
  uint32_t error = 0;
  const size_t calls =
      all_.calls.FailEach([&] { strings = {}; }, [&] { error = ReadSecurityStrings(path_, strings); },
                          [&](const FailedCall& failed) {
                            EXPECT_EQ(error, IsTolerated(failed) ? 0 : kInjectedError) << failed;
                            if (error != 0) {
                              EXPECT_TRUE(strings.group.empty());
                            }
                          });
  EXPECT_GE(calls, 5u);
}

}  // namespace
}  // namespace veskard
