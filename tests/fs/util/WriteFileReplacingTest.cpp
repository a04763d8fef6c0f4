#include "fs/util/WriteFileReplacing.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "core/WindowsOwners.h"
#include "fs/util/Files.h"
#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::Exists;
using test::FailedCall;
using test::NamesIn;
using test::Patched;
using test::ReadBytes;
using test::WriteBytes;
using Names = std::vector<std::wstring>;

bool Write(const std::wstring& path, const std::string& bytes) {
  return WriteFileReplacing(path.c_str(), bytes.data(), static_cast<uint32_t>(bytes.size()));
}

class WriteFileReplacingTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";
  const std::wstring side_ = path_ + L".new";

  Names Left() const { return NamesIn(folder_.Path()); }
};

// ---- What it is for.

TEST_F(WriteFileReplacingTest, AMissingFileIsWritten) {
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(WriteFileReplacingTest, AnExistingFileIsReplacedAndNothingElseIsLeft) {
  WriteBytes(path_, "old and longer");
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(WriteFileReplacingTest, NothingIsWrittenAsWell) {
  EXPECT_TRUE(Write(path_, ""));
  EXPECT_EQ(ReadBytes(path_), "");
  WriteBytes(path_, "old");
  EXPECT_TRUE(Write(path_, ""));
  EXPECT_EQ(ReadBytes(path_), "");
}

TEST_F(WriteFileReplacingTest, BytesAreWrittenAsTheyAre) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i) bytes += static_cast<char>(i);
  EXPECT_TRUE(Write(path_, bytes));
  EXPECT_TRUE(Write(path_, bytes + "!"));
  EXPECT_EQ(ReadBytes(path_), bytes + "!");
}

TEST_F(WriteFileReplacingTest, AFolderIsNotWritten) {
  test::MakeFolder(path_);
  EXPECT_FALSE(Write(path_, "new"));
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(WriteFileReplacingTest, AFileInAMissingFolderIsNotWritten) {
  EXPECT_FALSE(Write(folder_ / L"missing\\file", "new"));
  EXPECT_EQ(Left(), Names{});
}

TEST_F(WriteFileReplacingTest, AnOldSideFileIsOverwritten) {
  WriteBytes(path_, "old");
  WriteBytes(side_, "left behind by somebody");
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(WriteFileReplacingTest, ASideNameThatIsTakenByAFolderFailsAndKeepsTheFile) {
  WriteBytes(path_, "old");
  test::MakeFolder(side_);
  EXPECT_FALSE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "old");
}

TEST_F(WriteFileReplacingTest, WorksOnPercentSignsUnicodeAndTheLongPrefix) {
  for (const wchar_t* name : {L"100%s %u%n", L"\x00FC\x4E2D\xD83D\xDE00.txt", L"with space"}) {
    for (const std::wstring& path : {folder_ / name, L"\\\\?\\" + (folder_ / name)}) {
      EXPECT_TRUE(Write(path, "one"));
      EXPECT_TRUE(Write(path, "two"));
      EXPECT_EQ(ReadBytes(path), "two");
      EXPECT_EQ(Left(), Names{name});
      ::DeleteFileW(path.c_str());
    }
  }
}

// ---- The calls it makes.

// The requests to the system while this object lives.
struct SeenCalls {
  std::wstring created, replaced, replacement, backup;
  DWORD access = 0, share = 0, disposition = 0, attributes = 0, replaceFlags = 0;
  Names copied, deleted;
  int writes = 0;

  const Patched<&::CreateFileW> create{
      "CreateFileW", [this](auto original, LPCWSTR path, DWORD a, DWORD s, auto security, DWORD d, DWORD f,
                            HANDLE templateFile) {
        created += path;
        access = a, share = s, disposition = d, attributes = f;
        return original(path, a, s, security, d, f, templateFile);
      }};
  const Patched<&::WriteFile> write{"WriteFile", [this](auto original, auto... args) {
                                      ++writes;
                                      return original(args...);
                                    }};
  const Patched<&::CopyFileW> copy{
      "CopyFileW", [this](auto original, LPCWSTR from, LPCWSTR to, BOOL keep) {
        copied.push_back(std::wstring(from) + L" > " + to + (keep ? L" (kept)" : L""));
        return original(from, to, keep);
      }};
  const Patched<&::DeleteFileW> remove{"DeleteFileW", [this](auto original, LPCWSTR path) {
                                         deleted.push_back(path);
                                         return original(path);
                                       }};
  const Patched<&::ReplaceFileW> replace{"ReplaceFileW", [this](auto original, LPCWSTR old, LPCWSTR side,
                                                                LPCWSTR kept, DWORD flags, auto... none) {
                                           replaced = old, replacement = side, backup = kept,
                                           replaceFlags = flags;
                                           return original(old, side, kept, flags, none...);
                                         }};
};

class WriteFileReplacingCallsTest : public WriteFileReplacingTest {
 protected:
  std::wstring BackupName() const {
    std::srand(1);
    return path_ + L"." + std::to_wstring(std::rand()) + L".tmp";
  }
};

TEST_F(WriteFileReplacingCallsTest, AMissingFileHasNoSideNames) {
  SeenCalls seen;
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(seen.created, path_);
  EXPECT_EQ(seen.access, GENERIC_READ | GENERIC_WRITE);
  EXPECT_EQ(seen.share, 7u);
  EXPECT_EQ(seen.disposition, DWORD{CREATE_ALWAYS});
  EXPECT_EQ(seen.attributes, DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_EQ(seen.writes, 1);
  EXPECT_TRUE(seen.copied.empty());
  EXPECT_TRUE(seen.deleted.empty());
  EXPECT_EQ(seen.replaced, L"");
}

TEST_F(WriteFileReplacingCallsTest, AnExistingFileIsReplacedByItsSideFile) {
  WriteBytes(path_, "old");
  const std::wstring backup = BackupName();
  SeenCalls seen;
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(seen.created, side_);
  EXPECT_EQ(seen.writes, 1);
  EXPECT_EQ(seen.copied, Names{side_ + L" > " + side_});
  EXPECT_EQ(seen.replaced, path_);
  EXPECT_EQ(seen.replacement, side_);
  EXPECT_EQ(seen.backup, backup);
  EXPECT_EQ(seen.replaceFlags, 2u);
  EXPECT_EQ(seen.deleted, Names{backup});
}

TEST_F(WriteFileReplacingCallsTest, TheBackupNameIsTheSameEveryTime) {
  Names backups;
  for (int i = 0; i < 2; ++i) {
    WriteBytes(path_, "old");
    SeenCalls seen;
    EXPECT_TRUE(Write(path_, "new"));
    backups.push_back(seen.backup);
  }
  EXPECT_EQ(backups[0], backups[1]);
}

// ---- Outcomes of a replacement that fails.

// What ReplaceFileW, as it fails, does to the files before.
enum class Breakage { kNothingMoved, kOldMovedToBackup };

class BrokenReplacementTest : public WriteFileReplacingTest {
 protected:
  void Break(Breakage how) {
    WriteBytes(path_, "old");
    replace_.emplace("ReplaceFileW", [how](auto, LPCWSTR replaced, LPCWSTR, LPCWSTR backup, auto...) {
      const bool moved = how == Breakage::kOldMovedToBackup;
      if (moved) {
        EXPECT_TRUE(::MoveFileW(replaced, backup));
      }
      ::SetLastError(moved ? ERROR_UNABLE_TO_MOVE_REPLACEMENT_2 : ERROR_UNABLE_TO_MOVE_REPLACEMENT);
      return FALSE;
    });
  }

 private:
  std::optional<Patched<&::ReplaceFileW>> replace_;
};

TEST_F(BrokenReplacementTest, TheOldContentsAreKeptAndThatCountsAsSuccess) {
  Break(Breakage::kNothingMoved);
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(BrokenReplacementTest, WhenTheOldContentsCannotBeCopiedEitherItFails) {
  Break(Breakage::kNothingMoved);
  const test::FailingCall failing("CopyFileW", test::kInjectedError,
                                  2);  // the first copies a file onto itself
  EXPECT_FALSE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(BrokenReplacementTest, OldContentsThatWereMovedAsideComeBack) {
  Break(Breakage::kOldMovedToBackup);
  EXPECT_TRUE(Write(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(Left(), Names{L"file"});
}

TEST_F(BrokenReplacementTest, WhatCannotBeBroughtBackIsNotDeleted) {
  Break(Breakage::kOldMovedToBackup);
  const test::FailingCall failing("MoveFileExW");
  EXPECT_FALSE(Write(path_, "new"));
  ASSERT_EQ(Left().size(), 2u);
  EXPECT_EQ(ReadBytes(folder_ / Left()[0]), "old");
  EXPECT_EQ(ReadBytes(side_), "new");
}

// ---- Writes that fail.

class BadWriteTest : public WriteFileReplacingTest {
 protected:
  bool WriteWith(DWORD shortBy, BOOL result) {
    const Patched<&::WriteFile> bad("WriteFile",
                                    [=](auto original, HANDLE file, auto bytes, DWORD count, auto... rest) {
                                      original(file, bytes, count - shortBy, rest...);
                                      ::SetLastError(ERROR_WRITE_FAULT);
                                      return result;
                                    });
    return Write(path_, "new contents");
  }
};

TEST_F(BadWriteTest, AShortWriteFailsAndKeepsTheOldContents) {
  WriteBytes(path_, "old");
  EXPECT_FALSE(WriteWith(1, TRUE));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(ReadBytes(side_), "new content");  // left behind
  EXPECT_EQ(Left(), (Names{L"file", L"file.new"}));
}

TEST_F(BadWriteTest, AFailedWriteFailsAndKeepsTheOldContents) {
  WriteBytes(path_, "old");
  EXPECT_FALSE(WriteWith(0, FALSE));
  EXPECT_EQ(ReadBytes(path_), "old");
  EXPECT_EQ(Left(), (Names{L"file", L"file.new"}));
}

TEST_F(BadWriteTest, AShortWriteOfANewFileFails) {
  EXPECT_FALSE(WriteWith(5, TRUE));
  EXPECT_EQ(Left(), Names{L"file"});
}

// ---- Every call failing, or being the last.

struct Watches {
  test::WatchedCalls calls{"GetFileAttributesW",
                           "SetFileAttributesW",
                           "CreateFileW",
                           "WriteFile",
                           "CopyFileW",
                           {"ReplaceFileW", ERROR_UNABLE_TO_REMOVE_REPLACED},
                           {"DeleteFileW", ERROR_ACCESS_DENIED},
                           "MoveFileExW"};
};

TEST_F(WriteFileReplacingTest, WhateverCallFailsTheOldOrTheNewContentsAreThereWhole) {
  Watches watches;
  bool done = false;
  const size_t calls = watches.calls.FailEach(
      [this] {
        WriteBytes(path_, "old contents");
        ::DeleteFileW(side_.c_str());
      },
      [&] { done = Write(path_, "new contents"); },
      [&](const FailedCall& failed) {
        const std::string contents = ReadBytes(path_);
        EXPECT_TRUE(contents == "old contents" || contents == "new contents") << failed << ": " << contents;
        const bool refused = failed.Is("CreateFileW") || failed.Is("WriteFile");
        EXPECT_EQ(done, !refused) << failed;
        EXPECT_EQ(contents == "new contents", !refused && !failed.Is("ReplaceFileW")) << failed;
      });
  EXPECT_EQ(calls, 6u);
}

TEST_F(BrokenReplacementTest, WhateverCallOfTheWayBackFailsTheOldContentsAreThereWhole) {
  for (const Breakage how : {Breakage::kNothingMoved, Breakage::kOldMovedToBackup}) {
    Break(how);
    test::WatchedCalls calls{"GetFileAttributesW",
                             "SetFileAttributesW",
                             "CopyFileW",
                             {"DeleteFileW", ERROR_ACCESS_DENIED},
                             "MoveFileExW"};
    const size_t count = calls.FailEach(
        [this] {
          for (const std::wstring& name : Left()) ::DeleteFileW((folder_ / name).c_str());
          WriteBytes(path_, "old contents");
        },
        [&] { Write(path_, "new contents"); },
        [&](const FailedCall& failed) {
          if (failed.number == 1) return;  // not seen to exist: written directly
          std::string found = ReadBytes(path_);
          if (found == "(missing)") found = ReadBytes(folder_ / Left()[0]);
          EXPECT_EQ(found, "old contents") << failed;
        });
    EXPECT_GE(count, 5u);
  }
}

constexpr wchar_t kFolderVariable[] = L"VESKARD_TEST_FOLDER";
constexpr UINT kInterrupted = 77;

// In a process of its own: writes, and ends when call number `number` is made.
void WriteUntilCall(size_t number) {
  wchar_t path[MAX_PATH] = {};
  ::GetEnvironmentVariableW(kFolderVariable, path, MAX_PATH);
  Watches watches;
  const test::ArmedFault end(
      {.kind = test::FaultKind::kSystemCall, .number = number, .exitCode = kInterrupted});
  Write(path, "new contents");
  std::exit(0);
}

TEST(WriteFileReplacingDeathTest, WhereverTheProcessEndsTheOldOrTheNewContentsAreThereWhole) {
  const test::ScratchFolder folder;
  const std::wstring path = folder / L"file";
  // The other process runs this test as well, with a folder of its own.
  if (::GetEnvironmentVariableW(kFolderVariable, nullptr, 0) == 0) {
    ::SetEnvironmentVariableW(kFolderVariable, path.c_str());
  }
  for (size_t number = 1; number <= 6; ++number) {
    WriteBytes(path, "old contents");
    EXPECT_EXIT(WriteUntilCall(number), testing::ExitedWithCode(kInterrupted), "") << number;
    const std::string contents = ReadBytes(path);
    EXPECT_TRUE(contents == "old contents" || contents == "new contents") << number << ": " << contents;
    EXPECT_EQ(contents == "new contents", number == 6) << number;  // only its cleaning up is left
  }
  WriteBytes(path, "old contents");
  EXPECT_EXIT(WriteUntilCall(7), testing::ExitedWithCode(0), "");
  EXPECT_EQ(ReadBytes(path), "new contents");
  ::SetEnvironmentVariableW(kFolderVariable, nullptr);
}

// ---- Names that do not fit their buffers.

class LongNameTest : public WriteFileReplacingTest {
 protected:
  // A path of `length` characters whose folder exists.
  std::wstring PathOfLength(size_t length, const std::wstring& prefix = L"") const {
    constexpr size_t kNameLength = 20;
    return test::FolderForLength(prefix + folder_.Path(), length, kNameLength) + L"\\" +
           std::wstring(kNameLength, L'n');
  }

  ~LongNameTest() override { Empty(); }

  void Empty() const {
    DeleteTree(L"\\\\?\\" + folder_.Path());
    test::MakeFolder(folder_.Path());
  }
};

// A file that holds "old" or is new, with a path of each of the lengths, and what comes of
// writing "new".
struct LengthRow {
  const char* name;
  const wchar_t* prefix;
  std::vector<size_t> lengths;
  bool exists;
  bool succeeds;
  const char* contents;
};

TEST_F(LongNameTest, WhatIsWrittenDependsOnTheNamesThatFit) {
  constexpr wchar_t kPrefix[] = L"\\\\?\\";
  // clang-format off
  const LengthRow rows[] = {
      {"all names fit",                         L"",     {249},                          true,  true,  "new"},
      {"names are cut but still differ",        L"",     {250, 255, 256, 257},           true,  true,  "new"},
      {"the side file's name is the file's",    L"",     {258, 259, 260, 261},           true,  false, "old"},
      {"a plain path that is new",              L"",     {249, 250, 255, 256, 257, 259}, false, true,  "new"},
      {"a prefixed path that is new",           kPrefix, {259, 260, 261, 1000},          false, true,  "new"},
      {"a prefixed path, through a cut name",   kPrefix, {256, 257},                     true,  true,  "new"},
      {"a longer prefixed path is not replaced", kPrefix, {258, 259, 260, 261, 1000},    true,  true,  "old"},
  };
  // clang-format on
  for (const LengthRow& row : rows) {
    for (const size_t length : row.lengths) {
      const std::wstring path = PathOfLength(length, row.prefix);
      if (row.exists) WriteBytes(path, "old");
      EXPECT_EQ(Write(path, "new"), row.succeeds) << row.name << ": " << length;
      EXPECT_EQ(ReadBytes(path), row.contents) << row.name << ": " << length;
      EXPECT_EQ(NamesIn(path.substr(0, path.rfind(L'\\'))).size(), 1u) << row.name << ": " << length;
      Empty();
    }
  }
}

TEST_F(LongNameTest, ALongerPlainPathIsCutAt259Characters) {
  for (const size_t length : {260u, 261u}) {
    const std::wstring path = PathOfLength(length);
    EXPECT_TRUE(Write(path, "new"));
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(ReadBytes(path.substr(0, 259)), "new");
    Empty();
  }
}

TEST_F(LongNameTest, AFileWhoseNameIsTheFirstPartOfALongPathIsNotTouched) {
  const std::wstring path = PathOfLength(270, L"\\\\?\\");
  const std::wstring stranger = path.substr(0, 259);
  WriteBytes(path, "old");
  WriteBytes(stranger, "stranger");
  EXPECT_TRUE(Write(path, "new"));
  EXPECT_EQ(ReadBytes(path), "old");
  EXPECT_EQ(ReadBytes(stranger), "stranger");
}

TEST_F(LongNameTest, NamesNearTheSystemsLimitDoNoHarm) {
  for (const size_t length : {32762u, 32763u, 32766u, 32767u, 32768u, 40000u}) {
    EXPECT_FALSE(Write(L"\\\\?\\C:\\" + std::wstring(length - 7, L'x'), "new")) << length;
  }
}

}  // namespace
}  // namespace veskard
