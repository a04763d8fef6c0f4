#include "fs/util/StreamList.h"

#include <gtest/gtest.h>

#include <cstring>

#include "fs/util/FileInfo.h"
#include "fs/util/Handle.h"
#include "fs/util/NtFunctions.h"
#include "tests/fs/util/SeenOpen.h"
#include "tests/support/Faults.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using Streams = StreamEntryList;

void Append32(std::string& bytes, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
}

void Append64(std::string& bytes, uint64_t value) {
  Append32(bytes, static_cast<uint32_t>(value));
  Append32(bytes, static_cast<uint32_t>(value >> 32));
}

void AppendText(std::string& bytes, std::wstring_view text) {
  for (const wchar_t character : text) {
    bytes += static_cast<char>(character);
    bytes += static_cast<char>(character >> 8);
  }
}

// One entry as it is laid out on the wire; `next` and `nameBytes` may lie.
std::string Entry(uint32_t next, uint32_t nameBytes, uint64_t size, std::wstring_view name) {
  std::string bytes;
  Append32(bytes, next);
  Append32(bytes, nameBytes);
  Append64(bytes, size);
  Append64(bytes, (size + 4095) & ~uint64_t{4095});
  AppendText(bytes, name);
  return bytes;
}

std::string Entry(uint32_t next, uint64_t size, std::wstring_view name) {
  return Entry(next, static_cast<uint32_t>(name.size() * 2), size, name);
}

// Entries one after the other, each at a multiple of 8, as NTFS lays them out.
std::string Answer(const std::vector<std::pair<std::wstring, uint64_t>>& streams) {
  std::string bytes;
  for (size_t i = 0; i < streams.size(); ++i) {
    std::string entry = Entry(0, streams[i].second, streams[i].first);
    if (i + 1 < streams.size()) {
      entry.resize((entry.size() + 7) & ~size_t{7}, '\0');
      const auto next = static_cast<uint32_t>(entry.size());
      std::memcpy(entry.data(), &next, sizeof(next));
    }
    bytes += entry;
  }
  return bytes;
}

// The walk over exactly these bytes: one read beyond them is one too many.
bool Walk(const std::string& bytes, Streams& streams) {
  return WalkStreamAnswer(std::vector<char>(bytes.begin(), bytes.end()), streams);
}

Streams Walked(const std::string& bytes) {
  Streams streams;
  EXPECT_TRUE(Walk(bytes, streams));
  return streams;
}

bool Refused(const std::string& bytes) {
  Streams streams;
  return !Walk(bytes, streams);
}

TEST(StreamWalkTest, ListsTheStreamsOfAnAnswer) {
  struct Row {
    const char* name;
    std::string answer;
    Streams streams;
  };
  // clang-format off
  const Row rows[] = {
      {"empty streams and the main one are left out",
       Answer({{L"::$DATA", 100}, {L":vlk_status:$DATA", 12}, {L":vlk_type:$DATA", 0}}),
       {{L"vlk_status", 12}}},
      {"order, names and sizes are kept",
       Answer({{L":b:$DATA", 1}, {L":a:$DATA", 0x123456789ABCDEF0}, {L":\x00FC\x4E2D:$DATA", 3}}),
       {{L"b", 1}, {L"a", 0x123456789ABCDEF0}, {L"\x00FC\x4E2D", 3}}},
      {"a name without the suffix is left out",
       Answer({{L":longer:$INDEX_ALLOCATION", 5}, {L":name:$data", 5}}), {}},
      {"the suffix may stand anywhere, but the last six characters go", Answer({{L":a:$DATA:more", 5}}),
       {{L"a:$DAT", 5}}},
      {"seven characters are too few, eight enough", Answer({{L"x:$DATA", 5}, {L":x:$DATA", 6}}),
       {{L"x", 6}}},
      {"an entry without a name is passed over", Entry(24, 9, L"") + Entry(0, 7, L":x:$DATA"), {{L"x", 7}}},
      {"zeros have no streams", std::string(1024, '\0'), {}},
      {"bytes behind the last entry play no part", Entry(0, 7, L":x:$DATA") + std::string(100, '\xFF'),
       {{L"x", 7}}},
      {"entries need not be aligned", Entry(41, 7, L":x:$DATA") + "?" + Entry(0, 8, L":y:$DATA"),
       {{L"x", 7}, {L"y", 8}}},
      {"an odd last byte of a name is ignored", Entry(0, 17, 7, L":x:$DATA?"), {{L"x", 7}}},
      {"a zero character ends a name early", Entry(0, 7, std::wstring_view(L":x:$DATA\0:$DATA", 15)),
       {{L"x", 7}}},
  };
  // clang-format on
  for (const Row& row : rows) EXPECT_EQ(Walked(row.answer), row.streams) << row.name;
}

TEST(StreamWalkTest, ANextOffsetBeyondTheAnswerIsRefused) {
  const std::string name = Entry(0, 7, L":x:$DATA");  // 40 bytes
  for (const uint32_t next : {41u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFFD8u}) {
    std::string bytes = name;
    std::memcpy(bytes.data(), &next, sizeof(next));
    EXPECT_TRUE(Refused(bytes)) << next;
  }
}

TEST(StreamWalkTest, ANextOffsetToTheVeryEndIsRefused) {
  EXPECT_TRUE(Refused(Entry(40, 7, L":x:$DATA")));
}

TEST(StreamWalkTest, AnEntryCutShortIsRefused) {
  const std::string whole = Entry(0, 7, L":x:$DATA");
  for (size_t size = 0; size < whole.size(); ++size) EXPECT_TRUE(Refused(whole.substr(0, size))) << size;
}

TEST(StreamWalkTest, ASmallNextOffsetEndsInTheAnswer) {
  // Each entry overlaps the one before; the walk still moves on and stops.
  std::string bytes;
  for (int i = 0; i < 50; ++i) Append32(bytes, 8);
  Streams streams;
  EXPECT_FALSE(Walk(bytes, streams));
}

TEST(StreamWalkTest, TheLongestNameThatFitsIsKept) {
  const std::wstring name(253, L'n');
  EXPECT_EQ(Walked(Answer({{L":" + name + L":$DATA", 1}})), (Streams{{name, 1}}));  // 520 bytes
  EXPECT_EQ(Walked(Entry(0, 521, 1, L":" + name + L":$DATA?")), (Streams{{name, 1}}));
}

// Windows ends the process with the code given, Wine with that of any failing fast.
bool EndedByInvalidParameter(int code) {
  return code == static_cast<int>(0xC0000417) || code == static_cast<int>(0xC0000602);
}

TEST(StreamWalkDeathTest, AnOverLongNameStopsTheProcess) {
  Streams streams;
  EXPECT_EXIT(Walk(Answer({{std::wstring(261, L'n'), 1}}), streams), EndedByInvalidParameter, "");
  EXPECT_EXIT(Walk(Entry(0, 522, 1, L"short"), streams), EndedByInvalidParameter, "");
  EXPECT_EXIT(Walk(Entry(0, 0xFFFFFFFF, 1, L"short"), streams), EndedByInvalidParameter, "");
}

// ---- The query, with the system's part played here.

class StreamQueryTest : public testing::Test {
 protected:
  StreamQueryTest() {
    test::WriteBytes(path_, "main");
    self_ = this;
    Nt().queryInformationFile = &Query;
  }
  ~StreamQueryTest() override { Nt().queryInformationFile = real_; }

  // As the system does it: overflow while the buffer is too small for all.
  static NTSTATUS NTAPI Query(HANDLE, IO_STATUS_BLOCK*, void* buffer, ULONG size, ULONG what) {
    EXPECT_EQ(what, 22u);
    self_->sizes_.push_back(size);
    for (ULONG i = 0; i < size; ++i) EXPECT_EQ(static_cast<char*>(buffer)[i], '\0');
    ::SetLastError(self_->lastError_);
    if (self_->status_ != 0) return self_->status_;
    const size_t given = std::min<size_t>(size, self_->answer_.size());
    std::memcpy(buffer, self_->answer_.data(), given);
    return given < self_->answer_.size() ? kStatusBufferOverflow : 0;
  }

  static inline StreamQueryTest* self_ = nullptr;
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";
  std::string answer_;
  NTSTATUS status_ = 0;
  DWORD lastError_ = 0;  // left standing by the query
  std::vector<ULONG> sizes_;
  const NtQueryInformationFileFunction real_ = Nt().queryInformationFile;
  FileInfoImpl info_{path_};
};

TEST_F(StreamQueryTest, ListsStreams) {
  answer_ = Answer({{L"::$DATA", 4}, {L":vlk_status:$DATA", 12}, {L":vlk_type:$DATA", 0}});
  EXPECT_TRUE(info_.ReadStreams());
  EXPECT_EQ(info_.GetStreams(), (Streams{{L"vlk_status", 12}}));
  EXPECT_EQ(sizes_, std::vector<ULONG>{1024});
  EXPECT_EQ(info_.Error(), 0u);
}

TEST_F(StreamQueryTest, AFileWithoutStreamsHasAnEmptyList) {
  EXPECT_TRUE(info_.ReadStreams());
  EXPECT_TRUE(info_.GetStreams().empty());
}

TEST_F(StreamQueryTest, MoreStreamsThanFitIn1024BytesAreListedCompletely) {
  std::vector<std::pair<std::wstring, uint64_t>> streams;
  Streams expected;
  for (uint64_t i = 1; i <= 100; ++i) {
    const std::wstring name = L"stream number " + std::to_wstring(i);
    streams.push_back({L":" + name + L":$DATA", i});
    expected.push_back({name, i});
  }
  answer_ = Answer(streams);
  EXPECT_TRUE(info_.ReadStreams());
  EXPECT_EQ(info_.GetStreams(), expected);
  const size_t steps = (answer_.size() + 1023) / 1024;
  ASSERT_EQ(sizes_.size(), steps);
  for (size_t i = 0; i < steps; ++i) EXPECT_EQ(sizes_[i], 1024 * (i + 1));
}

TEST_F(StreamQueryTest, AnAnswerOfExactly1024BytesNeedsNoGrowth) {
  answer_ = Entry(0, 1, L":x:$DATA");
  answer_.resize(1024, '\0');
  EXPECT_TRUE(info_.ReadStreams());
  EXPECT_EQ(sizes_.size(), 1u);
  answer_.resize(1025, '\0');
  EXPECT_TRUE(info_.ReadStreams());
  EXPECT_EQ(sizes_.size(), 3u);
}

TEST_F(StreamQueryTest, AnotherStatusRecordsTheLastErrorAsItStands) {
  status_ = static_cast<NTSTATUS>(0xC000000D);
  for (const DWORD error : {DWORD{77}, DWORD{0}}) {
    lastError_ = error;
    EXPECT_FALSE(info_.ReadStreams());
    EXPECT_TRUE(info_.GetStreams().empty());
    EXPECT_EQ(info_.Error(), error);
    FileHandle file{PathVector(path_)};
    EXPECT_FALSE(file.GetStreams().has_value());
    EXPECT_EQ(file.LastError(), error);
  }
}

TEST_F(StreamQueryTest, AMalformedAnswerGivesNoStreamsAndError13) {
  answer_ = Entry(40, 7, L":x:$DATA") + Entry(5000, 7, L":y:$DATA");
  EXPECT_FALSE(info_.ReadStreams());
  EXPECT_TRUE(info_.GetStreams().empty());
  EXPECT_EQ(info_.Error(), 13u);
}

TEST_F(StreamQueryTest, AFailureForgetsTheOldList) {
  answer_ = Answer({{L":x:$DATA", 1}});
  ASSERT_TRUE(info_.ReadStreams());
  status_ = static_cast<NTSTATUS>(0xC000000D);
  EXPECT_FALSE(info_.ReadStreams());
  EXPECT_TRUE(info_.GetStreams().empty());
}

TEST_F(StreamQueryTest, WithoutTheFunctionItFailsWith127) {
  Nt().queryInformationFile = nullptr;
  EXPECT_FALSE(info_.ReadStreams());
  EXPECT_EQ(info_.Error(), 127u);
}

TEST_F(StreamQueryTest, AMissingFileFailsWith2) {
  FileInfoImpl missing(folder_ / L"missing");
  EXPECT_FALSE(missing.ReadStreams());
  EXPECT_EQ(missing.Error(), 2u);
  EXPECT_TRUE(sizes_.empty());
}

TEST_F(StreamQueryTest, TheOpenDoesNotShareDeletion) {
  test::SeenOpen seen;
  info_.ReadStreams();
  EXPECT_EQ(seen.access, 0u);
  EXPECT_EQ(seen.share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE});
  EXPECT_EQ(seen.disposition, DWORD{OPEN_EXISTING});
  EXPECT_EQ(seen.flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS});
}

TEST_F(StreamQueryTest, NoHandleStaysOpen) {
  const size_t handles = test::CountOpenHandles();
  info_.ReadStreams();
  status_ = static_cast<NTSTATUS>(0xC000000D);
  info_.ReadStreams();
  EXPECT_EQ(test::CountOpenHandles(), handles);
}

TEST_F(StreamQueryTest, HandlesListTheirFilesStreams) {
  answer_ = Answer({{L"::$DATA", 4}, {L":one:$DATA", 1}, {L":empty:$DATA", 0}, {L":two:$DATA", 2}});
  test::WriteBytes(path_ + L":two", "2");
  for (const HandleKind kind : {HandleKind::kFile, HandleKind::kSymlink, HandleKind::kFolder}) {
    const auto streams = MakeHandle(PathVector(path_), kind)->GetStreams();
    ASSERT_TRUE(streams.has_value());
    ASSERT_EQ(streams->size(), 2u);
    EXPECT_EQ((*streams)[0]->GetName(), L"one");
    EXPECT_EQ((*streams)[0]->GetKind(), HandleKind::kStream);
    EXPECT_EQ((*streams)[0]->Path(), path_ + L"\\one");
    EXPECT_EQ(dynamic_cast<StreamHandle&>(*(*streams)[0]).FilePath(), path_);
    EXPECT_TRUE((*streams)[1]->Open(kModeRead, 0, 0));
  }
}

TEST_F(StreamQueryTest, AFileWithoutStreamsGivesAnEmptyListAndAFailureNone) {
  FileHandle file{PathVector(path_)};
  EXPECT_EQ(file.GetStreams().value().size(), 0u);
  FileHandle missing{PathVector(folder_ / L"missing")};
  EXPECT_FALSE(missing.GetStreams().has_value());
  EXPECT_EQ(missing.LastError(), 2u);
}

TEST_F(StreamQueryTest, WhereTheSystemCannotListStreamsTheListFails) {
  Nt().queryInformationFile = real_;  // Wine does not know this class
  FileHandle file{PathVector(path_)};
  EXPECT_FALSE(file.GetStreams().has_value());
}

NTSTATUS WINAPI AskForMoreRoom(HANDLE, IO_STATUS_BLOCK*, void*, ULONG, ULONG) {
  return kStatusBufferOverflow;
}

TEST(StreamQueryDeathTest, MemoryThatRunsOutWhileTheAnswerGrowsStopsTheProcess) {
  const test::ScratchFolder folder;
  test::WriteBytes(folder / L"file", "x");
  FileInfoImpl info(folder / L"file");
  const auto real = Nt().queryInformationFile;
  Nt().queryInformationFile = &AskForMoreRoom;
  EXPECT_DEATH(
      {
        const test::ArmedFault failing(test::Allocation(20));
        info.ReadStreams();
      },
      "assert failed core.StdAfx:474 \\(34013186\\)");
  Nt().queryInformationFile = real;
}

}  // namespace
}  // namespace veskard
