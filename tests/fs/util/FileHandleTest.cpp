#include "fs/util/FileHandle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "fs/util/Handle.h"
#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::Exists;
using test::IsReadOnly;
using test::Patched;
using test::ReadBytes;
using test::SetReadOnly;
using test::WriteBytes;

class FileHandleTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file.txt";
  FileHandle file_{PathVector(path_)};
  uint32_t error_ = 77;
};

TEST_F(FileHandleTest, NameIsTheTextAfterTheLastSeparator) {
  EXPECT_EQ(FileHandle(PathVector(L"C:\\a\\b.txt")).GetName(), L"b.txt");
  EXPECT_EQ(FileHandle(PathVector(L"b.txt")).GetName(), L"b.txt");
  EXPECT_EQ(FileHandle(PathVector(L"C:\\a\\b/c.txt")).GetName(), L"c.txt");
  EXPECT_EQ(FileHandle(PathVector(L"cloud:/a/b/c/d")).GetName(), L"d");
  EXPECT_EQ(FileHandle(PathVector(L"")).GetName(), L"");
}

TEST_F(FileHandleTest, OpeningStoresModeAndFlag) {
  WriteBytes(path_, "x");
  EXPECT_TRUE(file_.Open(0, 5, 0));
  EXPECT_TRUE(file_.IsOpen());
  EXPECT_EQ(file_.Mode(), 0u);
  EXPECT_EQ(file_.OpenFlag(), 5);
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, OpeningAMissingFileForReadingFailsWith2) {
  EXPECT_FALSE(file_.Open(0, 1, 0));
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(file_.LastError(), 2u);
  EXPECT_EQ(file_.Mode(), 0u);
  EXPECT_EQ(file_.OpenFlag(), 1);
}

TEST_F(FileHandleTest, ASuccessfulOpenOverAnExistingFileLeavesNoError) {
  WriteBytes(path_, "x");
  EXPECT_TRUE(file_.Open(2, 0, 0));  // the system says "already exists" here
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, OpeningAgainClosesWhatWasOpen) {
  WriteBytes(path_, "x");
  const size_t before = test::CountOpenHandles();
  EXPECT_TRUE(file_.Open(0, 0, 0));
  EXPECT_TRUE(file_.Open(1, 0, 0));
  EXPECT_EQ(test::CountOpenHandles(), before + 1);
  EXPECT_FALSE(file_.Open(6, 0, 0));
  EXPECT_EQ(test::CountOpenHandles(), before);
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(FileHandleTest, ClosingForgetsHandleModeAndErrorButNotTheFlag) {
  WriteBytes(path_, "x");
  file_.Open(0, 9, 0);
  file_.Write("x", 1);
  EXPECT_EQ(file_.LastError(), 5u);
  file_.Close();
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(file_.Mode(), 0xFFFFFFFF);
  EXPECT_EQ(file_.LastError(), 0u);
  EXPECT_EQ(file_.OpenFlag(), 9);
  file_.Close();
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, DestroyingAnOpenHandleClosesIt) {
  WriteBytes(path_, "x");
  const size_t before = test::CountOpenHandles();
  {
    const auto handle = MakeHandle(PathVector(path_), HandleKind::kFile);
    EXPECT_TRUE(handle->Open(0, 0, 0));
  }
  EXPECT_EQ(test::CountOpenHandles(), before);
}

// CreateFileW as a read-only file makes it answer: access denied once, and what
// the second try asks for.
struct RefusedOpen {
  int tries = 0;
  DWORD secondFlags = 0;
  const Patched<&::CreateFileW> open{
      "CreateFileW", [this](auto original, LPCWSTR path, DWORD access, DWORD share, auto security,
                            DWORD disposition, DWORD flags, HANDLE templateFile) {
        if (++tries == 1) {
          ::SetLastError(ERROR_ACCESS_DENIED);
          return INVALID_HANDLE_VALUE;
        }
        secondFlags = flags;
        return original(path, access, share, security, disposition, flags, templateFile);
      }};
};

TEST_F(FileHandleTest, TheSecondTryOfARefusedOpenHasNoExtraFlags) {
  WriteBytes(path_, "x");
  SetReadOnly(path_);
  RefusedOpen refused;
  EXPECT_TRUE(file_.Open(1, 0, FILE_FLAG_WRITE_THROUGH));
  EXPECT_EQ(refused.tries, 2);
  EXPECT_EQ(refused.secondFlags, DWORD{FILE_ATTRIBUTE_NORMAL});
}

TEST_F(FileHandleTest, AFileThatIsNotReadOnlyIsNotTriedAgain) {
  WriteBytes(path_, "x");
  RefusedOpen refused;
  EXPECT_FALSE(file_.Open(1, 0, 0));
  EXPECT_EQ(refused.tries, 1);
  EXPECT_EQ(file_.LastError(), 5u);
}

TEST_F(FileHandleTest, AReadingModeIsNotTriedAgain) {
  WriteBytes(path_, "x");
  SetReadOnly(path_);
  RefusedOpen refused;
  EXPECT_FALSE(file_.Open(0, 0, 0));
  EXPECT_EQ(refused.tries, 1);
  EXPECT_EQ(file_.LastError(), 5u);
  EXPECT_TRUE(IsReadOnly(path_));
}

TEST_F(FileHandleTest, AnUnknownModeFailsWith87) {
  WriteBytes(path_, "x");
  EXPECT_FALSE(file_.Open(7, 0, 0));
  EXPECT_EQ(file_.LastError(), 87u);
  EXPECT_EQ(file_.Mode(), 7u);
}

TEST_F(FileHandleTest, ReadsAndWritesAtThePosition) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  EXPECT_EQ(file_.Write("hello", 5), 5u);
  EXPECT_TRUE(file_.Seek(1));
  char buffer[8] = {};
  EXPECT_EQ(file_.Read(buffer, 3), 3u);
  EXPECT_STREQ(buffer, "ell");
  EXPECT_EQ(file_.Write("OO", 2), 2u);
  EXPECT_EQ(ReadBytes(path_), "hellOO");
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, ReadingAtTheEndGivesNothingAndNoError) {
  WriteBytes(path_, "ab");
  ASSERT_TRUE(file_.Open(0, 0, 0));
  char buffer[8];
  EXPECT_EQ(file_.Read(buffer, 8), 2u);
  EXPECT_EQ(file_.Read(buffer, 8), 0u);
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, ReadsAndWritesAtAnOffset) {
  WriteBytes(path_, "0123456789");
  ASSERT_TRUE(file_.Open(1, 0, 0));
  char buffer[4] = {};
  EXPECT_EQ(file_.ReadAt(buffer, 3, 4), 3u);
  EXPECT_STREQ(buffer, "456");
  EXPECT_EQ(file_.WriteAt("XY", 2, 8), 2u);
  EXPECT_EQ(ReadBytes(path_), "01234567XY");
}

TEST_F(FileHandleTest, ReadingFromBeyondTheEndFailsWith38) {
  WriteBytes(path_, "ab");
  ASSERT_TRUE(file_.Open(0, 0, 0));
  char byte;
  EXPECT_EQ(file_.ReadAt(&byte, 1, 10), 0u);
  EXPECT_EQ(file_.LastError(), 38u);
}

TEST_F(FileHandleTest, OffsetsBeyondFourGigabytesReachThere) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  constexpr uint64_t kFar = 0x100000001;
  EXPECT_EQ(file_.WriteAt("z", 1, kFar), 1u);
  EXPECT_EQ(file_.GetSize(nullptr), kFar + 1);
  EXPECT_TRUE(file_.Seek(kFar));
  char byte = 0;
  EXPECT_EQ(file_.Read(&byte, 1), 1u);
  EXPECT_EQ(byte, 'z');
}

TEST_F(FileHandleTest, AnOffsetOfAllOnesWritesAtTheEnd) {
  WriteBytes(path_, "ab");
  ASSERT_TRUE(file_.Open(4, 0, 0));
  WriteBytes(path_, "longer");
  EXPECT_EQ(file_.WriteAt("!", 1, UINT64_MAX), 1u);
  EXPECT_EQ(ReadBytes(path_), "longer!");
}

TEST_F(FileHandleTest, AHandleForOverlappedTransfersFinishesThem) {
  WriteBytes(path_, std::string(100000, 'q'));
  ASSERT_TRUE(file_.Open(1, 0, FILE_FLAG_OVERLAPPED));
  std::string buffer(100000, ' ');
  EXPECT_EQ(file_.ReadAt(buffer.data(), 100000, 0), 100000u);
  EXPECT_EQ(buffer, std::string(100000, 'q'));
  EXPECT_EQ(file_.WriteAt("a", 1, 0), 1u);
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, TransfersThatTheModeForbidsRecordTheError) {
  WriteBytes(path_, "ab");
  ASSERT_TRUE(file_.Open(0, 0, 0));
  EXPECT_EQ(file_.Write("x", 1), 0u);
  EXPECT_EQ(file_.LastError(), 5u);
  char byte;
  EXPECT_EQ(file_.Read(&byte, 1), 1u);
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, SeekingToANegativeOffsetFailsWith131) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  EXPECT_FALSE(file_.Seek(UINT64_MAX));
  EXPECT_EQ(file_.LastError(), 131u);
  EXPECT_TRUE(file_.Seek(5));
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, SetSizeCutsAndExtends) {
  WriteBytes(path_, "hello");
  ASSERT_TRUE(file_.Open(1, 0, 0));
  EXPECT_TRUE(file_.SetSize(2));
  EXPECT_EQ(ReadBytes(path_), "he");
  EXPECT_TRUE(file_.SetSize(4));
  EXPECT_EQ(ReadBytes(path_), std::string("he\0\0", 4));
  EXPECT_TRUE(file_.SetSize(0));
  EXPECT_EQ(ReadBytes(path_), "");
}

TEST_F(FileHandleTest, SetSizeKeepsThePosition) {
  WriteBytes(path_, "hello");
  ASSERT_TRUE(file_.Open(1, 0, 0));
  file_.Seek(1);
  EXPECT_TRUE(file_.SetSize(3));
  char byte = 0;
  EXPECT_EQ(file_.Read(&byte, 1), 1u);
  EXPECT_EQ(byte, 'e');
}

TEST_F(FileHandleTest, NothingHappensWhileClosed) {
  char buffer[4];
  WriteBytes(path_, "ab");
  file_.Open(6, 0, 0);  // fails: the file exists
  ASSERT_EQ(file_.LastError(), 80u);
  EXPECT_FALSE(file_.Seek(0));
  EXPECT_FALSE(file_.SetSize(0));
  EXPECT_FALSE(file_.SetValidData(1));
  EXPECT_EQ(file_.Read(buffer, 2), 0u);
  EXPECT_EQ(file_.ReadAt(buffer, 2, 0), 0u);
  EXPECT_EQ(file_.Write("x", 1), 0u);
  EXPECT_EQ(file_.WriteAt("x", 1, 0), 0u);
  EXPECT_FALSE(file_.IsDeletePending());
  EXPECT_FALSE(file_.CancelIo());
  EXPECT_EQ(file_.LastError(), 80u);  // none of them is an attempt
  EXPECT_EQ(ReadBytes(path_), "ab");
}

TEST_F(FileHandleTest, FlushingAClosedHandleFailsWith87) {
  EXPECT_FALSE(file_.Flush(&error_));
  EXPECT_EQ(error_, 87u);
  EXPECT_EQ(file_.LastError(), 87u);
  EXPECT_FALSE(file_.Flush(nullptr));
}

TEST_F(FileHandleTest, FlushingAnOpenFileSucceeds) {
  file_.Open(2, 0, 0);
  EXPECT_TRUE(file_.Flush(&error_));
  EXPECT_EQ(error_, 0u);
}

TEST_F(FileHandleTest, AFailedFlushGivesItsError) {
  file_.Open(2, 0, 0);
  const test::FailingCall failing("FlushFileBuffers", ERROR_WRITE_FAULT);
  const bool flushed = file_.Flush(&error_);
  EXPECT_FALSE(flushed);
  EXPECT_EQ(error_, DWORD{ERROR_WRITE_FAULT});
  EXPECT_EQ(file_.LastError(), DWORD{ERROR_WRITE_FAULT});
}

TEST_F(FileHandleTest, SizeComesFromTheDiskWhetherOpenOrNot) {
  EXPECT_EQ(file_.GetSize(&error_), 0u);
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(file_.LastError(), 2u);
  WriteBytes(path_, "12345");
  EXPECT_EQ(file_.GetSize(&error_), 5u);
  EXPECT_EQ(error_, 0u);
  EXPECT_EQ(file_.LastError(), 0u);
  EXPECT_EQ(file_.GetSize(nullptr), 5u);
}

TEST_F(FileHandleTest, ModificationTimeIsInSecondsSince1970) {
  WriteBytes(path_, "1");
  constexpr uint64_t kSeconds = 1700000000;
  const uint64_t ticks = (11644473600u + kSeconds) * 10000000u + 9999999u;
  const FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  {
    const UniqueFile raw = OpenByMode(path_, 5, 0);
    ASSERT_TRUE(::SetFileTime(raw.Get(), nullptr, nullptr, &time));
  }
  EXPECT_EQ(file_.GetModificationTime(&error_), int64_t{kSeconds});
  EXPECT_EQ(error_, 0u);
}

TEST_F(FileHandleTest, AMissingFileHasNoModificationTime) {
  EXPECT_EQ(file_.GetModificationTime(&error_), 0);
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(file_.GetModificationTime(nullptr), 0);
}

TEST_F(FileHandleTest, DeletesTheFile) {
  WriteBytes(path_, "1");
  EXPECT_TRUE(file_.Delete(false, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(Exists(path_));
}

TEST_F(FileHandleTest, DeletesAReadOnlyFile) {
  WriteBytes(path_, "1");
  SetReadOnly(path_);
  EXPECT_TRUE(file_.Delete(false, nullptr));
  EXPECT_FALSE(Exists(path_));
}

TEST_F(FileHandleTest, DeletingAMissingFileFailsWith2) {
  EXPECT_FALSE(file_.Delete(true, &error_));
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(file_.LastError(), 2u);
}

TEST_F(FileHandleTest, DeletingAFolderThroughAFileHandleFailsWith5) {
  test::MakeFolder(path_);
  EXPECT_FALSE(file_.Delete(true, &error_));
  EXPECT_EQ(error_, 5u);
  EXPECT_TRUE(Exists(path_));
}

TEST_F(FileHandleTest, CreateMakesAnEmptyFileAndCloses) {
  EXPECT_TRUE(file_.Create());
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(ReadBytes(path_), "");
  WriteBytes(path_, "old");
  EXPECT_TRUE(file_.Create());
  EXPECT_EQ(ReadBytes(path_), "");
}

TEST_F(FileHandleTest, CreateInAMissingFolderFailsWith3) {
  FileHandle file{PathVector(folder_ / L"missing\\file")};
  EXPECT_FALSE(file.Create());
  EXPECT_EQ(file.LastError(), 3u);
}

TEST(FileHandleDeathTest, CreateOnAnOpenFileStopsTheProcess) {
  const test::ScratchFolder folder;
  FileHandle file{PathVector(folder / L"file")};
  ASSERT_TRUE(file.Open(2, 0, 0));
  EXPECT_DEATH(file.Create(), "assert failed fs.util.Handle:576 \\(34013186\\)");
}

TEST_F(FileHandleTest, CopiesAFileOverWhatIsThere) {
  WriteBytes(folder_ / L"source", "new");
  WriteBytes(path_, "old and longer");
  EXPECT_TRUE(file_.CopyFrom(folder_ / L"source", HandleKind::kFile));
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(file_.LastError(), 0u);
  EXPECT_TRUE(file_.CopyFrom(folder_ / L"source", HandleKind::kFileSecondCode));
}

TEST_F(FileHandleTest, AFailedCopyIsRecordedWhileClosed) {
  EXPECT_FALSE(file_.CopyFrom(folder_ / L"missing", HandleKind::kFile));
  EXPECT_EQ(file_.LastError(), 2u);
}

TEST_F(FileHandleTest, AFailedCopyIsNotRecordedWhileOpen) {
  WriteBytes(path_, "x");
  ASSERT_TRUE(file_.Open(0, 0, 0));
  EXPECT_FALSE(file_.CopyFrom(folder_ / L"missing", HandleKind::kFile));
  EXPECT_EQ(file_.LastError(), 0u);
  file_.Write("x", 1);
  ASSERT_EQ(file_.LastError(), 5u);
  file_.CopyFrom(folder_ / L"missing", HandleKind::kFile);
  EXPECT_EQ(file_.LastError(), 5u);
  EXPECT_TRUE(file_.IsOpen());
}

TEST_F(FileHandleTest, CopiesAStreamsWholeContents) {
  std::string contents;
  for (int i = 0; i < 50000; ++i) contents += std::to_string(i);
  WriteBytes(folder_ / L"carrier:name", contents);
  WriteBytes(path_, "old");
  EXPECT_TRUE(file_.CopyFrom(folder_ / L"carrier\\name", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(path_), contents);
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, CopiesAnEmptyStream) {
  WriteBytes(folder_ / L"carrier:name", "");
  WriteBytes(path_, "old");
  EXPECT_TRUE(file_.CopyFrom(folder_ / L"carrier\\name", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(path_), "");
}

TEST_F(FileHandleTest, CopyingAMissingStreamLeavesTheFileAsItWas) {
  WriteBytes(path_, "old");
  EXPECT_FALSE(file_.CopyFrom(folder_ / L"carrier\\name", HandleKind::kStream));
  EXPECT_EQ(file_.LastError(), 2u);
  EXPECT_EQ(ReadBytes(path_), "old");
}

TEST_F(FileHandleTest, CopyingItsOwnStreamIsRefusedBecauseItWouldVanishFirst) {
  WriteBytes(path_, "old");
  WriteBytes(path_ + L":name", "stream");
  ASSERT_TRUE(::CreateHardLinkW((folder_ / L"link").c_str(), path_.c_str(), nullptr));
  for (const std::wstring& other : {folder_ / L"FILE.TXT", L"\\\\?\\" + path_, folder_ / L"link"}) {
    EXPECT_FALSE(file_.CopyFrom(other + L"\\name", HandleKind::kStream));
    EXPECT_EQ(file_.LastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(path_), "old");
  }
}

TEST_F(FileHandleTest, CopyingItsOwnStreamUnderItsFullNameIsRefused) {
  WriteBytes(path_, "old");
  WriteBytes(path_ + L":name", "stream");
  ASSERT_TRUE(::CreateHardLinkW((folder_ / L"link").c_str(), path_.c_str(), nullptr));
  for (const std::wstring& other :
       {path_ + L":name", folder_ / L"FILE.TXT:name", path_ + L":name:$DATA", folder_ / L"link:name"}) {
    EXPECT_FALSE(file_.CopyFrom(other, HandleKind::kFile));
    EXPECT_EQ(file_.LastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(path_), "old");
  }
}

TEST_F(FileHandleTest, AFileIsNotCopiedOverItself) {
  WriteBytes(path_, "old");
  ASSERT_TRUE(::CreateHardLinkW((folder_ / L"link").c_str(), path_.c_str(), nullptr));
  for (const std::wstring& other : {path_, folder_ / L"FILE.TXT", path_ + L"::$DATA", folder_ / L"link"}) {
    EXPECT_FALSE(file_.CopyFrom(other, HandleKind::kFile));
    EXPECT_EQ(file_.LastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(path_), "old");
  }
}

TEST_F(FileHandleTest, AFileNamedAsAStreamIsNotFilledFromThatStream) {
  WriteBytes(path_, "main");
  WriteBytes(path_ + L":name", "old");
  ASSERT_TRUE(::CreateHardLinkW((folder_ / L"link").c_str(), path_.c_str(), nullptr));
  FileHandle named{PathVector(path_ + L":name")};
  for (const std::wstring& other : {path_ + L"\\name", path_ + L"\\NAME", folder_ / L"link\\name"}) {
    EXPECT_FALSE(named.CopyFrom(other, HandleKind::kStream));
    EXPECT_EQ(named.LastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(path_ + L":name"), "old");
  }
}

TEST_F(FileHandleTest, AFileNamedAsAStreamIsFilledFromTheOthers) {
  WriteBytes(path_, "main");
  WriteBytes(path_ + L":name", "old");
  WriteBytes(path_ + L":other", "new");
  FileHandle named{PathVector(path_ + L":name")};
  EXPECT_TRUE(named.CopyFrom(path_ + L"\\other", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(path_ + L":name"), "new");
  EXPECT_TRUE(named.CopyFrom(path_, HandleKind::kFile));
  EXPECT_EQ(ReadBytes(path_ + L":name"), "main");
}

TEST_F(FileHandleTest, ARefusedCopyIsNotRecordedWhileOpen) {
  WriteBytes(path_, "old");
  ASSERT_TRUE(file_.Open(0, 0, 0));
  EXPECT_FALSE(file_.CopyFrom(path_, HandleKind::kFile));
  EXPECT_EQ(file_.LastError(), 0u);
  EXPECT_TRUE(file_.IsOpen());
}

TEST_F(FileHandleTest, OtherKindsCannotBeCopied) {
  WriteBytes(path_, "old");
  for (const HandleKind kind : {HandleKind::kFolder, HandleKind::kSymlink, static_cast<HandleKind>(9)}) {
    EXPECT_FALSE(file_.CopyFrom(path_, kind));
    EXPECT_EQ(file_.LastError(), 0u);
  }
  EXPECT_EQ(ReadBytes(path_), "old");
}

TEST_F(FileHandleTest, AStreamThatDoesNotFitOnTheDiskIsNoSuccess) {
  WriteBytes(folder_ / L"carrier:name", "contents");
  const Patched<&::WriteFile> full("WriteFile", [](auto, auto, auto, DWORD count, LPDWORD written, auto) {
    *written = count - 1;
    return TRUE;
  });
  EXPECT_FALSE(file_.CopyFrom(folder_ / L"carrier\\name", HandleKind::kStream));
  EXPECT_EQ(file_.LastError(), DWORD{ERROR_DISK_FULL});
}

TEST_F(FileHandleTest, SetValidDataSetsTheSizeFirst) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  LARGE_INTEGER sizeThen = {};
  const Patched<&::SetFileValidData> granted("SetFileValidData", [&](auto, HANDLE file, LONGLONG size) {
    EXPECT_EQ(size, 1000);
    return ::GetFileSizeEx(file, &sizeThen);
  });
  EXPECT_TRUE(file_.SetValidData(1000));
  EXPECT_EQ(sizeThen.QuadPart, 1000);
  EXPECT_EQ(file_.GetSize(nullptr), 1000u);
}

TEST_F(FileHandleTest, WithoutThePrivilegeSetValidDataRecordsItsAbsence) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  const test::FailingCall failing("SetFileValidData", ERROR_PRIVILEGE_NOT_HELD);
  const bool extended = file_.SetValidData(1000);
  EXPECT_FALSE(extended);
  EXPECT_EQ(file_.LastError(), DWORD{ERROR_PRIVILEGE_NOT_HELD});
  EXPECT_EQ(file_.GetSize(nullptr), 1000u);
}

TEST_F(FileHandleTest, CancellingWithNothingPendingSucceeds) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  EXPECT_TRUE(file_.CancelIo());
  EXPECT_EQ(file_.LastError(), 0u);
}

TEST_F(FileHandleTest, TheReservedAnswersAreFalseAndTrue) {
  EXPECT_FALSE(file_.ReservedFalse());
  EXPECT_TRUE(file_.ReservedTrue());
}

TEST_F(FileHandleTest, AHandleWithALockSerialisesItsOperations) {
  ASSERT_TRUE(file_.Open(2, 0, 0));
  file_.SetLock(std::make_unique<CriticalSection>());
  constexpr int kLines = 500;
  const auto writeLines = [this](char letter) {
    const std::string line(7, letter);
    for (int i = 0; i < kLines; ++i) file_.Write(line.data(), 7);
  };
  std::thread first(writeLines, 'a');
  std::thread second(writeLines, 'b');
  first.join();
  second.join();
  const std::string contents = ReadBytes(path_);
  ASSERT_EQ(contents.size(), 2u * 7 * kLines);
  for (size_t i = 0; i < contents.size(); i += 7) {
    EXPECT_EQ(contents.substr(i, 7), std::string(7, contents[i]));
  }
}

TEST_F(FileHandleTest, OperationsWaitForAHeldLockAndMayNest) {
  auto lock = std::make_unique<CriticalSection>();
  CriticalSection& section = *lock;
  file_.SetLock(std::move(lock));
  section.Enter();
  EXPECT_TRUE(file_.Open(2, 0, 0));  // calls Close, and enters again
  std::atomic<bool> written = false;
  std::thread writer([&] {
    file_.Write("x", 1);
    written = true;
  });
  ::Sleep(50);
  EXPECT_FALSE(written);
  section.Leave();
  writer.join();
  EXPECT_TRUE(written);
}

}  // namespace
}  // namespace veskard
