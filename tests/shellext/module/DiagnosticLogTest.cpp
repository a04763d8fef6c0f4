#include "shellext/module/DiagnosticLog.h"

#include <gmock/gmock.h>
#include <shlobj.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include "core/ModuleHandle.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/OpenMode.h"
#include "shellext/module/Log.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr wchar_t kStart[] = L"=== start ===";
constexpr wchar_t kEnd[] = L"==== end ====";
constexpr uint64_t kThreshold = 104'857'600;

class DiagnosticLogTest : public test::LogFixture {
 protected:
  ~DiagnosticLogTest() override { CloseLogAtDetach(Detach::kUnload); }

  static void Toggle() {
    SetSwitch(0);
    RefreshLogState();
    SetSwitch(1);
    RefreshLogState();
  }

  /// Bytes that one line of this process takes in the file.
  static uint64_t LineBytes(const std::wstring& message) {
    const fs::path program = ReadModulePath(nullptr);
    const std::wstring tag = program.filename().wstring() + L":" + std::to_wstring(::GetCurrentProcessId());
    return (std::wstring_view(L"2017-03-01 14:05:09.000").size() + 2 + tag.size() + 2 + message.size() + 2) *
           sizeof(wchar_t);
  }
};

using DiagnosticLogSwitchTest = DiagnosticLogTest;
using DiagnosticLogLineTest = DiagnosticLogTest;
using DiagnosticLogFolderTest = DiagnosticLogTest;
using DiagnosticLogRotationTest = DiagnosticLogTest;

// ---- The switch

TEST_F(DiagnosticLogSwitchTest, IsOnWithoutTheKey) {
  CreateLog();
  EXPECT_TRUE(IsLogEnabled());
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogSwitchTest, IsOnWithoutTheValue) {
  SetSwitch(0);
  RemoveSwitch();
  CreateLog();
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogSwitchTest, ZeroIsOff) {
  SetSwitch(0);
  CreateLog();
  Log(L"unheard");
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogSwitchTest, EveryOtherNumberIsOn) {
  for (const DWORD value : {1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
    SetSwitch(0);
    CreateLog();
    SetSwitch(value);
    EXPECT_TRUE(RefreshLogState()) << value;
    CloseLogAtDetach(Detach::kUnload);
  }
}

TEST_F(DiagnosticLogSwitchTest, ATextCountsAsMissing) {
  test::WriteRegistryText(HKEY_LOCAL_MACHINE, test::kLogSwitchKey, test::kLogSwitchValue, L"0");
  CreateLog();
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogSwitchTest, FourBytesOfAnotherTypeCountAsMissing) {
  SetSwitch(0);
  UniqueRegKey key;
  ASSERT_EQ(
      ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, test::kLogSwitchKey, 0, KEY_WRITE | KEY_WOW64_64KEY, key.Out()),
      ERROR_SUCCESS);
  const DWORD zero = 0;
  ASSERT_EQ(::RegSetValueExW(key.Get(), test::kLogSwitchValue, 0, REG_BINARY,
                             reinterpret_cast<const BYTE*>(&zero), sizeof(zero)),
            ERROR_SUCCESS);
  CreateLog();
  EXPECT_TRUE(IsLogEnabled());
}

TEST_F(DiagnosticLogSwitchTest, TurnedOnItOpensAtTheNextRefresh) {
  SetSwitch(0);
  CreateLog();
  SetSwitch(1);
  Log(L"still unheard");
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_TRUE(RefreshLogState());
  Log(L"heard");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"heard"));
}

TEST_F(DiagnosticLogSwitchTest, TurnedOffItWritesTheEndLineAtTheNextRefresh) {
  CreateLog();
  SetSwitch(0);
  Log(L"still heard");
  EXPECT_FALSE(RefreshLogState());
  Log(L"unheard");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"still heard", kEnd));
}

TEST_F(DiagnosticLogSwitchTest, TogglingWritesOneStartAndOneEndEach) {
  CreateLog();
  Toggle();
  Toggle();
  EXPECT_THAT(Messages(), ElementsAre(kStart, kEnd, kStart, kEnd, kStart));
}

TEST_F(DiagnosticLogSwitchTest, RefreshingAnUnchangedSwitchWritesNothing) {
  CreateLog();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(RefreshLogState());
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

// ---- Creation and detach

TEST_F(DiagnosticLogTest, WithoutALogNothingIsWritten) {
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_FALSE(RefreshLogState());
  Log(L"unheard");
  WriteLogLine(L"unheard too", FormatArgs());
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogTest, ASecondCreationKeepsTheFirstLog) {
  CreateLog();
  CreateLog();
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogTest, DetachWritesTheEndLine) {
  CreateLog();
  CloseLogAtDetach(Detach::kUnload);
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_THAT(Messages(), ElementsAre(kStart, kEnd));
}

TEST_F(DiagnosticLogTest, ProcessExitWritesTheEndLine) {
  CreateLog();
  CloseLogAtDetach(Detach::kProcessExit);
  EXPECT_THAT(Messages(), ElementsAre(kStart, kEnd));
}

TEST_F(DiagnosticLogTest, DetachWithoutALogDoesNothing) {
  CloseLogAtDetach(Detach::kUnload);
  CloseLogAtDetach(Detach::kProcessExit);
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogTest, ProcessExitLeavesALogAloneThatAnotherThreadWasUsing) {
  CreateLog();
  const UniqueHandle inside(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const UniqueHandle leave(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::thread user([&] {
    const CriticalSectionHold hold(LogLock());
    ::SetEvent(inside.Get());
    ::WaitForSingleObject(leave.Get(), INFINITE);
  });
  ::WaitForSingleObject(inside.Get(), INFINITE);
  CloseLogAtDetach(Detach::kProcessExit);  // would never return if it waited
  EXPECT_THAT(Messages(), ElementsAre(kStart));
  ::SetEvent(leave.Get());
  user.join();
}

TEST_F(DiagnosticLogTest, AfterDetachNothingIsWritten) {
  CreateLog();
  CloseLogAtDetach(Detach::kUnload);
  Log(L"unheard");
  EXPECT_FALSE(RefreshLogState());
  EXPECT_THAT(Messages(), ElementsAre(kStart, kEnd));
}

// ---- Lines

TEST_F(DiagnosticLogLineTest, IsTimeProcessAndMessage) {
  CreateLog();
  Log(L"Context menu: GetData failed (%lx); mh : %d", 0x80004005u, 0);
  const std::vector<std::wstring> lines = Lines();
  ASSERT_THAT(lines, SizeIs(2));
  const std::wstring tag = fs::path(ReadModulePath(nullptr)).filename().wstring() + L":" +
                           std::to_wstring(::GetCurrentProcessId());
  EXPECT_EQ(lines[1].substr(23), L" (" + tag + L") Context menu: GetData failed (80004005); mh : 0");
}

TEST_F(DiagnosticLogLineTest, FileIsUtf16WithoutAMarkAndEveryLineEndsInCrLf) {
  CreateLog();
  Log(L"\u00E4\u4E2D\xD83D\xDE00");
  std::ifstream in(fs::path(File()), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes.substr(0, 4), std::string("2\0000\0", 4));  // the year, least byte first
  EXPECT_THAT(bytes, EndsWith(std::string("\xE4\x00\x2D\x4E\x3D\xD8\x00\xDE\r\0\n\0", 12)));
}

TEST_F(DiagnosticLogLineTest, MillisecondsAreAlwaysZero) {
  CreateLog();
  for (int i = 0; i < 30; ++i) {
    Log(L"%d", i);
    ::Sleep(7);
  }
  const std::vector<std::wstring> lines = Lines();
  EXPECT_THAT(lines, SizeIs(31));
  for (const std::wstring& line : lines) EXPECT_EQ(line.substr(19, 4), L".000");
}

TEST_F(DiagnosticLogLineTest, EmptyAndVeryLongMessagesAreKeptWhole) {
  const std::wstring longMessage(100'000, L'x');
  CreateLog();
  Log(L"");
  Log(L"%s", longMessage);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"", longMessage));
}

TEST_F(DiagnosticLogLineTest, AMessageIsNotFormattedTwice) {
  CreateLog();
  Log(L"%s", L"100%s %d");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"100%s %d"));
}

TEST_F(DiagnosticLogLineTest, ThreadsDoNotMixTheirLines) {
  constexpr int kThreads = 8;
  constexpr int kLines = 250;
  CreateLog();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([thread] {
      for (int line = 0; line < kLines; ++line) Log(L"%d:%d", thread, line);
    });
  for (std::thread& thread : threads) thread.join();
  std::vector<int> next(kThreads, 0);
  for (const std::wstring& message : Messages()) {
    if (message == kStart) continue;
    const auto thread = static_cast<size_t>(std::stoi(message));
    EXPECT_EQ(message, std::to_wstring(thread) + L":" + std::to_wstring(next.at(thread)++));
  }
  EXPECT_THAT(next, ::testing::Each(kLines));
}

TEST_F(DiagnosticLogLineTest, TogglingUnderWritingThreadsKeepsEveryLineBetweenAStartAndAnEnd) {
  CreateLog();
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([&] {
      // The lock goes to whoever asks first, not to who has waited longest: without a
      // rest between their lines the writers would keep it among themselves.
      for (; !stop; ::Sleep(1)) Log(L"%s", L"a line");
    });
  for (int i = 0; i < 40; ++i) Toggle();
  stop = true;
  for (std::thread& thread : threads) thread.join();
  CloseLogAtDetach(Detach::kUnload);
  bool open = false;
  int starts = 0;
  for (const std::wstring& message : Messages()) {
    if (message == kStart) ++starts;
    EXPECT_EQ(open, message != kStart) << ::testing::PrintToString(message);
    open = message != kEnd;
  }
  EXPECT_FALSE(open);
  EXPECT_EQ(starts, 41);
}

// ---- What one line costs, and a disk that takes less than it is given

class DiagnosticLogCallsTest : public DiagnosticLogTest {
 protected:
  struct WriteCall {
    DWORD bytes;
    uint64_t offset;
  };

  DiagnosticLogCallsTest()
      : write_(nullptr, "WriteFile", &CountingWrite),
        flush_(nullptr, "FlushFileBuffers", &CountingFlush),
        openKey_(nullptr, "RegOpenKeyExW", &CountingOpenKey) {
    self_ = this;
  }

  static BOOL WINAPI CountingWrite(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                                   OVERLAPPED* at) {
    self_->writes.push_back({count, at == nullptr ? 0 : uint64_t{at->OffsetHigh} << 32 | at->Offset});
    return self_->write_.CallOriginal(file, bytes, std::min(count, self_->bytesThatFit), written, at);
  }
  static BOOL WINAPI CountingFlush(HANDLE file) {
    ++self_->flushes;
    return self_->flush_.CallOriginal(file);
  }
  static LSTATUS WINAPI CountingOpenKey(HKEY root, const wchar_t* path, DWORD options, REGSAM access,
                                        HKEY* key) {
    ++self_->openedKeys;
    self_->openedKey = path;
    self_->openedRoot = root;
    self_->keyAccess = access;
    return self_->openKey_.CallOriginal(root, path, options, access, key);
  }

  std::vector<WriteCall> writes;
  int flushes = 0;
  int openedKeys = 0;
  std::wstring openedKey;
  HKEY openedRoot = nullptr;
  REGSAM keyAccess = 0;
  DWORD bytesThatFit = MAXDWORD;

 private:
  inline static DiagnosticLogCallsTest* self_ = nullptr;
  test::FunctionPatch<decltype(::WriteFile)> write_;
  test::FunctionPatch<decltype(::FlushFileBuffers)> flush_;
  test::FunctionPatch<decltype(::RegOpenKeyExW)> openKey_;
};

TEST_F(DiagnosticLogCallsTest, ALineIsOneWriteAtTheEndOfTheFileAndOneFlush) {
  CreateLog();
  writes.clear();
  flushes = openedKeys = 0;
  Log(L"message %d", 5);
  ASSERT_THAT(writes, SizeIs(1));
  EXPECT_EQ(writes[0].bytes, LineBytes(L"message 5"));
  EXPECT_EQ(writes[0].offset, ~uint64_t{0});
  EXPECT_EQ(flushes, 1);
  EXPECT_EQ(openedKeys, 0);
}

int questions = 0;
NtQueryInformationFileFunction realQuery = nullptr;
NTSTATUS NTAPI CountQuestion(HANDLE file, IO_STATUS_BLOCK* status, void* answer, ULONG size, ULONG what) {
  ++questions;
  return realQuery(file, status, answer, size, what);
}

// Whether it is being deleted and how large it is: one question answers both.
TEST_F(DiagnosticLogTest, ALineAsksTheSystemOnceAboutTheFile) {
  CreateLog();
  realQuery = std::exchange(Nt().queryInformationFile, &CountQuestion);
  const test::WatchedCalls calls(::GetModuleHandleW(nullptr));
  questions = 0;
  Log(L"message");
  test::CallNumbers numbers = calls.Numbers(test::Threads::kThisOne);
  Nt().queryInformationFile = realQuery;
  EXPECT_EQ(questions, 1);
  EXPECT_EQ(numbers["WriteFile"], 1);
  EXPECT_EQ(numbers["FlushFileBuffers"], 1);
  for (const char* other : {"CreateFileW", "CloseHandle", "FindFirstFileExW", "GetFileAttributesW",
                            "GetFileSizeEx", "GetFileInformationByHandle", "SetFilePointerEx"})
    EXPECT_EQ(numbers[other], 0) << other;
}

TEST_F(DiagnosticLogCallsTest, OffItCallsNothing) {
  SetSwitch(0);
  CreateLog();
  openedKeys = 0;
  Log(L"unheard");
  EXPECT_THAT(writes, IsEmpty());
  EXPECT_EQ(flushes, 0);
  EXPECT_EQ(openedKeys, 0);
}

TEST_F(DiagnosticLogCallsTest, EachRefreshReadsTheSwitchOnce) {
  CreateLog();
  openedKeys = 0;
  RefreshLogState();
  EXPECT_EQ(openedKeys, 1);
}

TEST_F(DiagnosticLogCallsTest, TheSwitchIsThatOfTheMachinesSixtyFourBitView) {
  CreateLog();
  EXPECT_EQ(openedRoot, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(openedKey, L"Software\\Nimbrel\\Sync");
  EXPECT_EQ(keyAccess, REGSAM{0x20119});
}

TEST_F(DiagnosticLogCallsTest, AFullDiskCutsLinesAndTheLogGoesOn) {
  CreateLog();
  bytesThatFit = 0;
  Log(L"lost");
  bytesThatFit = 44;  // the time alone
  Log(L"cut");
  bytesThatFit = MAXDWORD;
  Log(L"whole");
  const std::vector<std::wstring> lines = Lines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_THAT(lines[1], EndsWith(L" whole"));
  EXPECT_TRUE(IsLogEnabled());
}

// ---- The folder and the file

TEST_F(DiagnosticLogFolderTest, AMissingFolderIsNotMadeAndKeepsTheLogOff) {
  fs::remove(Folder());
  CreateLog();
  Log(L"unheard");
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(DiagnosticLogFolderTest, AFolderThatAppearsLaterIsFoundAtTheNextRefresh) {
  fs::remove(Folder());
  CreateLog();
  EXPECT_FALSE(RefreshLogState());
  fs::create_directory(Folder());
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_TRUE(RefreshLogState());
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogFolderTest, WithoutAnApplicationDataFolderItStaysOff) {
  registry_.SetApplicationData(ApplicationData() + L"\\missing");
  CreateLog();
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_FALSE(RefreshLogState());
  Log(L"unheard");
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_FALSE(fs::exists(ApplicationData() + L"\\missing")) << "nor is that folder made";
}

// A system that refuses, though it has named a folder in which the log could lie.
BOOL WINAPI RefuseButFillIn(HWND, wchar_t* folder, int, BOOL) {
  ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, folder);
  return FALSE;
}

TEST_F(DiagnosticLogFolderTest, ARefusedQuestionForTheFolderKeepsTheLogOff) {
  const test::FunctionPatch<decltype(::SHGetSpecialFolderPathW)> refused(nullptr, "SHGetSpecialFolderPathW",
                                                                         &RefuseButFillIn);
  EXPECT_EQ(DiagnosticLogPath(), L"");
  CreateLog();
  EXPECT_FALSE(IsLogEnabled());
}

TEST_F(DiagnosticLogFolderTest, APathThatCannotBeOpenedKeepsTheLogOff) {
  fs::create_directory(File());
  CreateLog();
  EXPECT_FALSE(IsLogEnabled());
  fs::remove(File());
  EXPECT_TRUE(RefreshLogState());
}

TEST_F(DiagnosticLogFolderTest, AnExistingFileIsContinued) {
  CreateLog();
  Log(L"first life");
  CloseLogAtDetach(Detach::kUnload);
  CreateLog();
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"first life", kEnd, kStart));
}

TEST_F(DiagnosticLogFolderTest, AnotherWriterMayAppendMeanwhile) {
  CreateLog();
  Log(L"ours");
  {
    const UniqueFile other(::CreateFileW(File().c_str(), FILE_APPEND_DATA, kShareEverything, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(other);
    const std::wstring line = L"2017-03-01 14:05:09.000 (explorer.exe:4412) theirs\r\n";
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(other.Get(), line.data(), static_cast<DWORD>(line.size() * sizeof(wchar_t)),
                            &written, nullptr));
  }
  Log(L"ours again");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"ours", L"theirs", L"ours again"));
}

// ---- Deletion while the file is open

/// Wine keeps a deleted file until its last handle is closed, as Windows does, but
/// does not tell so; this says it in Wine's place.
class DiagnosticLogDeletionTest : public DiagnosticLogTest {
 protected:
  DiagnosticLogDeletionTest() : query_(Nt().queryInformationFile) {
    self_ = this;
    Nt().queryInformationFile = &Query;
  }
  ~DiagnosticLogDeletionTest() override {
    CloseLogAtDetach(Detach::kUnload);
    Nt().queryInformationFile = query_;
  }

  void DeleteOpenLog() {
    ASSERT_TRUE(::DeleteFileW(File().c_str()));
    pending_ = true;
  }

  void SwitchOffAndOn() {
    SetSwitch(0);
    RefreshLogState();
    pending_ = false;  // its last handle is closed
    SetSwitch(1);
    RefreshLogState();
  }

 private:
  static NTSTATUS NTAPI Query(HANDLE file, IO_STATUS_BLOCK* status, void* answer, ULONG size, ULONG what) {
    const NTSTATUS result = self_->query_(file, status, answer, size, what);
    if (what == kFileStandardInformation && self_->pending_)
      static_cast<FILE_STANDARD_INFO*>(answer)->DeletePending = TRUE;
    return result;
  }

  inline static DiagnosticLogDeletionTest* self_ = nullptr;
  NtQueryInformationFileFunction query_;
  bool pending_ = false;
};

TEST_F(DiagnosticLogDeletionTest, TheLogFallsSilentAndStaysEnabled) {
  CreateLog();
  DeleteOpenLog();
  Log(L"lost");
  Log(L"lost too");
  EXPECT_TRUE(IsLogEnabled());
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogDeletionTest, ARefreshDoesNotReopen) {
  CreateLog();
  DeleteOpenLog();
  Log(L"lost");
  EXPECT_TRUE(RefreshLogState());
  Log(L"lost too");
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogDeletionTest, SwitchingOffAndOnStartsANewFile) {
  CreateLog();
  DeleteOpenLog();
  Log(L"lost");
  SwitchOffAndOn();
  Log(L"heard");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"heard"));
}

TEST_F(DiagnosticLogDeletionTest, DetachWritesNothingMore) {
  CreateLog();
  DeleteOpenLog();
  CloseLogAtDetach(Detach::kUnload);
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogDeletionTest, ARenamedFileIsWrittenOn) {
  CreateLog();
  ASSERT_TRUE(::MoveFileW(File().c_str(), OldFile().c_str()));
  Log(L"follows the file");
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, L"follows the file"));
  EXPECT_FALSE(fs::exists(File()));
}

// ---- Rotation, on real files

TEST_F(DiagnosticLogRotationTest, TheThresholdItselfIsNotTooLarge) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  EXPECT_EQ(fs::file_size(File()), kThreshold);
  EXPECT_FALSE(fs::exists(OldFile()));
}

TEST_F(DiagnosticLogRotationTest, ALineBeyondItMovesTheFileAndStartsANewOne) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  Log(L"one too many");
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, L"one too many", kEnd));
  EXPECT_THAT(Messages(), ElementsAre(kStart));
  Log(L"goes on");
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"goes on"));
  EXPECT_TRUE(IsLogEnabled());
}

TEST_F(DiagnosticLogRotationTest, WhatAnotherProcessHasWrittenCountsToo) {
  MakeLongFile(kThreshold - 2 * LineBytes(kStart));
  CreateLog();
  EXPECT_FALSE(fs::exists(OldFile()));
  {
    const UniqueFile other(::CreateFileW(File().c_str(), FILE_APPEND_DATA,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    const std::wstring line(static_cast<size_t>(LineBytes(kStart)) / sizeof(wchar_t), L'x');
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(other.Get(), line.data(), static_cast<DWORD>(line.size() * sizeof(wchar_t)),
                            &written, nullptr));
  }
  EXPECT_FALSE(fs::exists(OldFile()));
  Log(L"x");
  EXPECT_TRUE(fs::exists(OldFile()));
}

TEST_F(DiagnosticLogRotationTest, ALineThatDoesNotReachTheDiskCountsAsFarAsItDoes) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  const test::FailingCall full("WriteFile", ERROR_DISK_FULL);
  Log(L"lost");
  EXPECT_TRUE(full.Happened());
  EXPECT_FALSE(fs::exists(OldFile()));
}

/// Stands at the call that moves the file away.
class DiagnosticLogMoveTest : public DiagnosticLogTest {
 protected:
  DiagnosticLogMoveTest() : move_(nullptr, "MoveFileExW", &Move) { self_ = this; }

  std::vector<std::wstring> moves;
  bool refuse = false;
  bool takeName = false;  // a folder takes the name that the move has left

 private:
  static BOOL WINAPI Move(const wchar_t* from, const wchar_t* to, DWORD flags) {
    self_->moves.push_back(std::wstring(from) + L" > " + to + L" " + std::to_wstring(flags));
    const BOOL moved = self_->refuse ? FALSE : self_->move_.CallOriginal(from, to, flags);
    if (self_->takeName) fs::create_directory(from);
    return moved;
  }

  inline static DiagnosticLogMoveTest* self_ = nullptr;
  test::FunctionPatch<decltype(::MoveFileExW)> move_;
};

TEST_F(DiagnosticLogMoveTest, ARotationIsOneMoveThatIsOnTheDiskAndReplacesNothing) {
  MakeLongFile(kThreshold);
  CreateLog();
  EXPECT_THAT(moves,
              ElementsAre(File() + L" > " + OldFile() + L" " + std::to_wstring(MOVEFILE_WRITE_THROUGH)));
}

TEST_F(DiagnosticLogMoveTest, ARefusedMoveDeletesTheFileAlsoWithoutAnOldOne) {
  refuse = true;
  MakeLongFile(kThreshold);
  CreateLog();
  EXPECT_FALSE(fs::exists(OldFile()));
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogMoveTest, ANewFileThatDoesNotOpenClosesTheLogUntilARefreshFindsThatItDoes) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  takeName = true;
  Log(L"one too many");
  EXPECT_FALSE(IsLogEnabled());
  EXPECT_FALSE(RefreshLogState()) << "tried again, in vain";
  fs::remove(File());
  EXPECT_TRUE(RefreshLogState());
  EXPECT_THAT(Messages(), ElementsAre(kStart));
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, L"one too many", kEnd));
}

TEST_F(DiagnosticLogMoveTest, TheSameAtTheStartLineThatFindsTheFileTooLarge) {
  takeName = true;
  MakeLongFile(kThreshold);
  CreateLog();
  EXPECT_FALSE(IsLogEnabled());
  fs::remove(File());
  EXPECT_TRUE(RefreshLogState());
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogRotationTest, WithAnOldFileTheCurrentOneIsDeletedInstead) {
  std::ofstream(fs::path(OldFile())) << "kept";
  MakeLongFile(kThreshold);
  CreateLog();
  Log(L"in the new file");
  EXPECT_EQ(fs::file_size(OldFile()), 4u);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"in the new file"));
}

TEST_F(DiagnosticLogRotationTest, AFileTooLargeAtOpeningIsRotatedByItsStartLine) {
  MakeLongFile(kThreshold + 2);
  CreateLog();
  EXPECT_TRUE(IsLogEnabled());
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, kEnd));
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(DiagnosticLogRotationTest, AnEndLineBeyondTheThresholdMovesTheFileAndStartsNone) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  CloseLogAtDetach(Detach::kUnload);
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, kEnd));
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogRotationTest, AnEndLineBeyondItWithAnOldFileDeletesTheFile) {
  std::ofstream(fs::path(OldFile())) << "kept";
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  CloseLogAtDetach(Detach::kUnload);
  EXPECT_EQ(fs::file_size(OldFile()), 4u);
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(DiagnosticLogRotationTest, AProcessLeftWithTheOldFileWritesOnIntoIt) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  ASSERT_TRUE(::MoveFileW(File().c_str(), OldFile().c_str()));  // as another process rotates
  MakeLongFile(0);
  Log(L"into the old file");
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, L"into the old file"));
  EXPECT_EQ(fs::file_size(File()), 0u);
}

TEST_F(DiagnosticLogRotationTest, AProcessLeftWithTheOldFileLooksForItsNameOnce) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  ASSERT_TRUE(::MoveFileW(File().c_str(), OldFile().c_str()));
  const test::WatchedCalls calls{"CreateFileW"};
  for (int i = 0; i < 5; ++i) Log(L"into the old file");
  EXPECT_EQ(calls.Of("CreateFileW"), 1);
}

TEST_F(DiagnosticLogRotationTest, ANameThatCannotBeLookedAtIsLookedAtAgain) {
  MakeLongFile(kThreshold - LineBytes(kStart));
  CreateLog();
  {
    const test::FailingCall refused("CreateFileW", ERROR_SHARING_VIOLATION);
    Log(L"one too many");
    EXPECT_TRUE(refused.Happened());
  }
  EXPECT_FALSE(fs::exists(OldFile()));
  Log(L"one more");
  EXPECT_THAT(test::ReadLogMessages(OldFile()), ElementsAre(kStart, L"one too many", L"one more", kEnd));
}

}  // namespace
}  // namespace veskard
