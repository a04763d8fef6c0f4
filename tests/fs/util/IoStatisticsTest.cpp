#include "fs/util/IoStatistics.h"

#include <gtest/gtest.h>

#include <thread>

#include "fs/util/Handle.h"
#include "tests/support/Faults.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

// Runs on a thread of its own and returns what that thread's record holds then:
// each test starts from a record that is not there.
template <class Function>
IoSnapshot Counted(const Function& function) {
  IoSnapshot snapshot;
  std::thread thread([&] {
    function();
    snapshot = IoStatistics::Instance().TakeSnapshot(::GetCurrentThreadId());
  });
  thread.join();
  return snapshot;
}

class IoStatisticsTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";

  std::shared_ptr<SyncHandle> OpenCounting(HandleKind kind, const std::wstring& path) const {
    auto handle = MakeHandle(PathVector(path), kind);
    handle->SetAccounting(true);
    EXPECT_TRUE(handle->Open(kModeReplace, 0, 0));
    return handle;
  }
};

TEST_F(IoStatisticsTest, ANewHandleDoesNotCount) {
  const IoSnapshot counted = Counted([this] {
    FileHandle file{PathVector(path_)};
    EXPECT_TRUE(file.Open(kModeReplace, 0, 0));
    file.Write("12345", 5);
  });
  EXPECT_EQ(counted.bytesWritten, 0u);
  EXPECT_EQ(counted.firstTick, 0u);
}

TEST_F(IoStatisticsTest, CountsEveryKindOfTransferOfFilesAndStreams) {
  for (const auto& [eachKind, eachPath] :
       {std::pair{HandleKind::kFile, path_}, {HandleKind::kStream, path_ + L"\\s"}}) {
    const IoSnapshot counted = Counted([&, kind = eachKind, path = eachPath] {
      const auto handle = OpenCounting(kind, path);
      char buffer[16];
      EXPECT_EQ(handle->Write("12345", 5), 5u);
      EXPECT_EQ(handle->WriteAt("678", 3, 5), 3u);
      EXPECT_TRUE(handle->Seek(0));
      EXPECT_EQ(handle->Read(buffer, 16), 8u);
      EXPECT_EQ(handle->ReadAt(buffer, 2, 1), 2u);
    });
    EXPECT_EQ(counted.bytesWritten, 8u);
    EXPECT_EQ(counted.bytesRead, 10u);
    EXPECT_NE(counted.firstTick, 0u);
  }
}

TEST_F(IoStatisticsTest, TransfersOfNothingCountNothing) {
  const IoSnapshot counted = Counted([this] {
    const auto handle = OpenCounting(HandleKind::kFile, path_);
    char buffer[16];
    EXPECT_EQ(handle->Read(buffer, 16), 0u);        // at the end
    EXPECT_EQ(handle->ReadAt(buffer, 1, 100), 0u);  // beyond it
    EXPECT_EQ(handle->Write("", 0), 0u);
    handle->Close();
    EXPECT_EQ(handle->Write("x", 1), 0u);
  });
  EXPECT_EQ(counted.bytesRead, 0u);
  EXPECT_EQ(counted.bytesWritten, 0u);
  EXPECT_EQ(counted.firstTick, 0u);
}

TEST_F(IoStatisticsTest, AccountingCanBeSwitchedOffAgain) {
  const IoSnapshot counted = Counted([this] {
    const auto handle = OpenCounting(HandleKind::kFile, path_);
    handle->Write("12", 2);
    handle->SetAccounting(false);
    handle->Write("345", 3);
  });
  EXPECT_EQ(counted.bytesWritten, 2u);
}

TEST_F(IoStatisticsTest, EachThreadHasARecordOfItsOwn) {
  const auto handle = OpenCounting(HandleKind::kFile, path_);
  const IoSnapshot outer = Counted([&] {
    handle->Write("1", 1);
    const IoSnapshot inner = Counted([&] { handle->Write("22", 2); });
    EXPECT_EQ(inner.bytesWritten, 2u);
  });
  EXPECT_EQ(outer.bytesWritten, 1u);
}

TEST(IoRecordTest, ANewRecordIsEmpty) {
  const IoRecord record;
  EXPECT_FALSE(record.paused);
  EXPECT_EQ(record.bytesRead, 0u);
  EXPECT_EQ(record.bytesWritten, 0u);
  EXPECT_EQ(record.firstTick, 0u);
  EXPECT_TRUE(record.reserved.empty());
  for (const uint32_t word : record.reservedWords) EXPECT_EQ(word, 0u);
}

TEST(IoRecordTest, ARecordStaysWhereItIs) {
  IoStatistics statistics;
  IoRecord& first = statistics.RecordOf(500);
  for (uint32_t id = 0; id < 1000; ++id) statistics.RecordOf(id);
  EXPECT_EQ(&first, &statistics.RecordOf(500));
}

TEST(IoRecordTest, TheFirstTickIsSetOnce) {
  IoStatistics statistics;
  const DWORD before = ::GetTickCount();
  statistics.CountRead(1);
  const uint32_t tick = statistics.TakeSnapshot(::GetCurrentThreadId()).firstTick;
  EXPECT_LE(tick - before, 1000u);
  ::Sleep(30);
  statistics.CountWritten(1);
  EXPECT_EQ(statistics.TakeSnapshot(::GetCurrentThreadId()).firstTick, tick);
}

TEST(IoRecordTest, CountsBeyondFourGigabytes) {
  IoStatistics statistics;
  for (int i = 0; i < 3; ++i) statistics.CountRead(0xFFFFFFFF);
  EXPECT_EQ(statistics.TakeSnapshot(::GetCurrentThreadId()).bytesRead, 3 * uint64_t{0xFFFFFFFF});
}

TEST(IoRecordTest, ASnapshotOfAnUnknownThreadIsEmptyAndMakesNoRecord) {
  IoStatistics statistics;
  IoSnapshot unknown, own;
  EXPECT_EQ(test::AllocationsOf([&] {
              unknown = statistics.TakeSnapshot(1234);
              statistics.CountRead(0);
              statistics.CountWritten(0);
              own = statistics.TakeSnapshot(::GetCurrentThreadId());
            }),
            0u);
  for (const IoSnapshot& snapshot : {unknown, own}) {
    EXPECT_EQ(snapshot.bytesRead, 0u);
    EXPECT_EQ(snapshot.bytesWritten, 0u);
    EXPECT_EQ(snapshot.firstTick, 0u);
  }
}

TEST(IoRecordTest, ASnapshotEndsThePause) {
  IoStatistics statistics;
  statistics.CountRead(1);
  IoRecord& record = statistics.RecordOf(::GetCurrentThreadId());
  (void)statistics.TakeSnapshot(::GetCurrentThreadId());
  EXPECT_FALSE(record.paused);
}

// Counts 7 bytes on another thread while this one holds the record's lock.
bool CountsWhileTheLockIsHeld(bool paused) {
  IoStatistics statistics;
  std::atomic<IoRecord*> record = nullptr;
  std::atomic<bool> held = false;
  std::thread counter([&] {
    record = &statistics.RecordOf(::GetCurrentThreadId());
    while (!held) ::Sleep(1);
    statistics.CountRead(7);
  });
  while (record == nullptr) ::Sleep(1);
  IoRecord& seen = *record;
  seen.lock.Enter();
  seen.paused = paused;
  held = true;
  ::Sleep(100);
  const bool counted = seen.bytesRead == 7;
  seen.paused = false;
  seen.lock.Leave();
  counter.join();
  EXPECT_EQ(seen.bytesRead, 7u);
  return counted;
}

TEST(IoRecordTest, CountingWaitsWhileTheRecordIsPaused) {
  EXPECT_FALSE(CountsWhileTheLockIsHeld(true));
}

TEST(IoRecordTest, CountingDoesNotTakeTheLockOtherwise) {
  EXPECT_TRUE(CountsWhileTheLockIsHeld(false));
}

TEST(IoRecordTest, ManyThreadsCountWithoutLosingAnything) {
  IoStatistics statistics;
  std::vector<std::thread> threads;
  std::atomic<uint64_t> total = 0;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 1000; ++round) {
        statistics.CountRead(3);
        if (round % 100 == 0) (void)statistics.TakeSnapshot(::GetCurrentThreadId());
      }
      total += statistics.TakeSnapshot(::GetCurrentThreadId()).bytesRead;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(total, 8u * 1000 * 3);
}

}  // namespace
}  // namespace veskard
