// Every heap allocation of every operation failing in turn: std::bad_alloc comes
// out or the operation fails, and neither handles nor memory are left behind.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <thread>
#include <tuple>

#include "fs/util/FileInfo.h"
#include "fs/util/Files.h"
#include "fs/util/Handle.h"
#include "fs/util/IoStatistics.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/Security.h"
#include "fs/util/StreamList.h"
#include "fs/util/WriteFileReplacing.h"
#include "tests/support/Faults.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::ReadBytes;
using test::WriteBytes;

class AllocationFailureTest : public testing::Test {
 protected:
  // Runs once without failures, which also makes the allocations of the first run in a
  // process, then with each allocation failing except number `spared`. Returns their number.
  size_t FailEach(const std::function<void()>& scenario, size_t spared = 0) {
    scenario();
    const size_t handles = test::CountOpenHandles();
    const size_t count = test::FailEachAllocation(
        scenario,
        [](size_t number, bool, size_t before) {
          EXPECT_EQ(test::LiveBlocks(), before) << "allocation " << number;
        },
        spared);
    EXPECT_EQ(test::CountOpenHandles(), handles);
    return count;
  }

  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"a file with a name that no short string holds";

  void SetUp() override { WriteBytes(path_, "contents"); }
};

TEST_F(AllocationFailureTest, TheFactoryPassesItOn) {
  const PathVector path(path_);
  for (const HandleKind kind :
       {HandleKind::kFile, HandleKind::kFolder, HandleKind::kSymlink, HandleKind::kStream}) {
    bool threw = false;
    FailEach([&] { (void)MakeHandle(path, kind); });
    test::FailEachAllocation([&] { (void)MakeHandle(path, kind); },
                             [&](size_t, bool thrown, size_t) { threw |= thrown; });
    EXPECT_TRUE(threw);
  }
}

TEST_F(AllocationFailureTest, HandleOperationsLeaveNothingBehind) {
  WriteBytes(path_ + L":s", "stream");
  const PathVector file(path_);
  const PathVector stream(path_ + L"\\s");
  EXPECT_GT(FailEach([&] {
              FileHandle handle(file);
              handle.SetAccounting(true);
              char buffer[8];
              handle.Open(kModeRead, 0, 0);
              handle.Read(buffer, 8);
              (void)handle.GetSize(nullptr);
              (void)handle.GetName();
            }),
            3u);
  EXPECT_GT(FailEach([&] {
              StreamHandle handle(stream);
              handle.Open(kModeRead, 0, 0);
              (void)handle.GetSize(nullptr);
              (void)handle.GetName();
              handle.Delete(false, nullptr);
            }),
            4u);
  EXPECT_GT(FailEach([&] {
              FileHandle handle(file);
              (void)handle.GetModificationTime(nullptr);
              handle.Create();
              handle.Delete(false, nullptr);
            }),
            1u);
  EXPECT_GT(FailEach([&] {
              SymlinkHandle link(file);
              link.Write(L"a target whose text no short string holds", 0);
            }),
            1u);
}

TEST_F(AllocationFailureTest, CopyingLeavesNothingBehind) {
  const std::wstring source = folder_ / L"source";
  WriteBytes(source, "main");
  WriteBytes(source + L":stream", "stream");
  const PathVector file(path_);
  const PathVector stream(path_ + L"\\s");
  for (const auto& [eachKind, eachFrom] :
       {std::pair{HandleKind::kFile, source}, {HandleKind::kStream, source + L"\\stream"}}) {
    EXPECT_GT(FailEach([&, kind = eachKind, from = eachFrom] { FileHandle(file).CopyFrom(from, kind); }), 0u);
    EXPECT_GT(FailEach([&, kind = eachKind, from = eachFrom] { StreamHandle(stream).CopyFrom(from, kind); }),
              3u);
  }
}

TEST_F(AllocationFailureTest, ACopyThatRunsOutOfMemoryLosesNothing) {
  WriteBytes(folder_ / L"source:stream", "new");
  const std::wstring source = folder_ / L"source\\stream";
  const std::wstring stream = path_ + L":s";
  for (const auto& [eachKind, path, eachContents] :
       {std::tuple{HandleKind::kFile, path_, path_}, {HandleKind::kStream, path_ + L"\\s", stream}}) {
    WriteBytes(eachContents, "old");
    const PathVector target(path);
    bool copied = false;
    const auto copy = [&, kind = eachKind] {
      copied = false;
      copied = MakeHandle(target, kind)->CopyFrom(source, HandleKind::kStream);
    };
    test::FailEachAllocation(copy, [&, contents = eachContents](size_t number, bool threw, size_t) {
      EXPECT_TRUE(threw) << number;
      EXPECT_FALSE(copied);
      EXPECT_EQ(ReadBytes(contents), "old") << number;
    });
    EXPECT_TRUE(copied);
    EXPECT_EQ(ReadBytes(eachContents), "new");
  }
}

TEST_F(AllocationFailureTest, ACopyThatRunsOutOfMemoryLeavesTheHandleClosed) {
  WriteBytes(folder_ / L"source:stream", "new");
  const std::wstring source = folder_ / L"source\\stream";
  // On a thread of its own, whose record of transfers is still to be made: by then
  // the target is open.
  std::thread([&] {
    FileHandle handle{PathVector(path_)};
    handle.SetAccounting(true);
    test::FailEachAllocation([&] { handle.CopyFrom(source, HandleKind::kStream); },
                             [&](size_t number, bool threw, size_t) {
                               EXPECT_TRUE(threw) << number;
                               EXPECT_FALSE(handle.IsOpen()) << number;
                               EXPECT_EQ(handle.Mode(), kModeClosed) << number;
                             });
  }).join();
  EXPECT_EQ(ReadBytes(path_), "new");
}

TEST_F(AllocationFailureTest, WholeTreesAndWholeFiles) {
  const std::wstring tree = folder_ / L"tree";
  const PathVector deep(tree + L"\\one folder with a long name\\and another one below it");
  EXPECT_GT(FailEach([&] {
              FolderHandle(deep).Create();
              DeleteTree(tree);
            }),
            10u);
  EXPECT_TRUE(DeleteTree(tree) || !test::Exists(tree));
  size_t size = 77;
  test::FailEachAllocation([&] { (void)ReadWholeFile(path_, size); },
                           [&](size_t, bool threw, size_t) {
                             EXPECT_FALSE(threw);  // it gives nothing instead
                             EXPECT_EQ(::GetLastError(), DWORD{ERROR_OUTOFMEMORY});
                             EXPECT_EQ(size, 0u);
                           });
  EXPECT_EQ(size, 8u);
}

TEST_F(AllocationFailureTest, FileInformationLeavesNothingBehind) {
  for (uint32_t flags = 0; flags < 16; ++flags) {
    EXPECT_GT(FailEach([&] { FileInfoImpl(path_).Refresh(flags); }), 0u) << flags;
  }
  EXPECT_GT(FailEach([&] { (void)MakeFileInfo(path_); }), 1u);
}

// Three streams, so that their list grows.
std::vector<char> ThreeStreams() {
  std::vector<char> answer(kStreamAnswerStep);
  const wchar_t name[] = L":a stream with a long name:$DATA";
  constexpr ULONG kEntrySize = 24 + sizeof(name) + 6;
  for (ULONG i = 0; i < 3; ++i) {
    const ULONG header[] = {i < 2 ? kEntrySize : 0, sizeof(name) - sizeof(*name), 3, 0, 8, 0};
    char* const entry = answer.data() + i * kEntrySize;
    std::memcpy(entry, header, sizeof(header));
    std::memcpy(entry + sizeof(header), name, header[1]);
  }
  return answer;
}

TEST_F(AllocationFailureTest, AStreamListLeavesNothingBehind) {
  const std::vector<char> answer = ThreeStreams();
  EXPECT_GT(FailEach([&] {
              StreamEntryList streams;
              WalkStreamAnswer(answer, streams);
            }),
            3u);
}

// A system that lists three streams.
class ListedStreams {
 public:
  ListedStreams() { Nt().queryInformationFile = &Query; }
  ~ListedStreams() { Nt().queryInformationFile = real_; }

  // Which allocation of a scenario makes the room for the answer: where that one fails
  // the process ends.
  static size_t RoomForTheAnswer(const std::function<void()>& scenario) {
    scenario();  // the allocations of the first run in a process
    test::AllocationsOf(scenario);
    return allocationsUntilTheQuery_;
  }

 private:
  static NTSTATUS NTAPI Query(HANDLE, IO_STATUS_BLOCK*, void* answer, ULONG size, ULONG) {
    allocationsUntilTheQuery_ = test::Faults::Requests();
    std::memcpy(answer, answer_.data(), size);
    return 0;
  }
  static inline const std::vector<char> answer_ = ThreeStreams();
  static inline size_t allocationsUntilTheQuery_ = 0;
  const NtQueryInformationFileFunction real_ = Nt().queryInformationFile;
};

TEST_F(AllocationFailureTest, ListingStreamsLeavesNothingBehind) {
  const ListedStreams listed;
  const auto read = [this] { FileInfoImpl(path_).ReadStreams(); };
  EXPECT_GT(FailEach(read, ListedStreams::RoomForTheAnswer(read)), 3u);
  const PathVector path(path_);
  const auto list = [&] { FileHandle(path).GetStreams(); };
  EXPECT_GT(FailEach(list, ListedStreams::RoomForTheAnswer(list)), 9u);
}

TEST_F(AllocationFailureTest, RewritingAccessListsLeavesNothingBehind) {
  const std::wstring text = L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)(A;ID;FR;;;WD)";
  EXPECT_GT(FailEach([&] {
              std::wstring copy = text;
              ExpandAccountAliases(copy);
            }),
            5u);
  EXPECT_GT(FailEach([&] {
              std::wstring copy = text;
              StripInheritedDuplicates(copy);
            }),
            5u);
  EXPECT_GT(FailEach([&] {
              SecurityStrings strings;
              ReadSecurityStrings(path_, strings);
            }),
            5u);
}

TEST_F(AllocationFailureTest, ReplacingKeepsTheOldOrTheNewContents) {
  const auto write = [&] { WriteFileReplacing(path_.c_str(), "new", 3); };
  WriteBytes(path_, "old");
  const size_t count = test::FailEachAllocation(write, [&](size_t number, bool threw, size_t) {
    EXPECT_TRUE(threw) << number;
    EXPECT_EQ(ReadBytes(path_), "old") << number;
  });
  EXPECT_GE(count, 3u);
  EXPECT_EQ(ReadBytes(path_), "new");
}

TEST_F(AllocationFailureTest, CountingATransferPassesItOn) {
  IoStatistics statistics;
  bool threw = false;
  test::FailEachAllocation([&] { statistics.CountRead(1); },
                           [&](size_t, bool thrown, size_t) { threw |= thrown; });
  EXPECT_TRUE(threw);
  EXPECT_EQ(statistics.TakeSnapshot(::GetCurrentThreadId()).bytesRead, 1u);
}

}  // namespace
}  // namespace veskard
