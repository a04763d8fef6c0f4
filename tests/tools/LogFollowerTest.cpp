#include "tools/shellprobe/LogFollower.h"

#include <gmock/gmock.h>

#include "fs/util/OpenMode.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogFollowerTest : public testing::Test {
 protected:
  void Append(const std::wstring& text) const { Append(Writer(), text); }

  // As a process that writes the log has it open.
  UniqueFile Writer() const {
    return UniqueFile(::CreateFileW(path_.c_str(), FILE_APPEND_DATA, kShareEverything, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  static void Append(const UniqueFile& file, const std::wstring& text) {
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)),
                            &written, nullptr));
  }

  test::ScratchFolder folder_;
  std::wstring path_ = folder_ / L"ShellExtCM.log";
  LogFollower log_{path_};
};

TEST_F(LogFollowerTest, ReadsWhatIsThereAndWhatComes) {
  Append(L"one\r\ntwo\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"one", L"two"));
  EXPECT_THAT(log_.ReadNewLines(), IsEmpty());
  Append(L"three\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"three"));
}

TEST_F(LogFollowerTest, WaitsForAFileThatIsNotThere) {
  EXPECT_THAT(log_.ReadNewLines(), IsEmpty());
  Append(L"one\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"one"));
}

TEST_F(LogFollowerTest, KeepsAnUnfinishedLineUntilItIsWhole) {
  Append(L"half ");
  EXPECT_THAT(log_.ReadNewLines(), IsEmpty());
  Append(L"and whole\r");
  EXPECT_THAT(log_.ReadNewLines(), IsEmpty());
  Append(L"\nnext\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"half and whole", L"next"));
}

TEST_F(LogFollowerTest, FollowsIntoTheFileThatARotationMakes) {
  Append(L"one\r\n");
  log_.ReadNewLines();
  Append(L"last of the old\r\n");
  ASSERT_TRUE(::MoveFileExW(path_.c_str(), (path_ + L".old").c_str(), 0));
  Append(L"first of the new\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"last of the old", L"first of the new"));
}

TEST_F(LogFollowerTest, ReadsOnInTheFileThatAnotherProcessStillWrites) {
  const UniqueFile other = Writer();
  Append(other, L"one\r\nhalf ");
  log_.ReadNewLines();
  ASSERT_TRUE(::MoveFileExW(path_.c_str(), (path_ + L".old").c_str(), 0));
  Append(L"new\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"new"));
  Append(L"newer\r\n");
  Append(other, L"and whole\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"half and whole", L"newer"));
  EXPECT_THAT(log_.ReadNewLines(), IsEmpty());
}

TEST_F(LogFollowerTest, FollowsARenamedFileUntilThereIsANewOne) {
  const UniqueFile other = Writer();
  log_.ReadNewLines();
  ASSERT_TRUE(::MoveFileExW(path_.c_str(), (path_ + L".old").c_str(), 0));
  Append(other, L"one\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"one"));
}

TEST_F(LogFollowerTest, LetsADeletedFileGoAndReadsTheNextOneFromItsStart) {
  Append(L"one\r\n");
  log_.ReadNewLines();
  Append(L"two\r\nhalf ");
  {
    // Wine never says that an open file was deleted.
    const test::Patched<&::GetFileInformationByHandleEx> pending(
        "GetFileInformationByHandleEx", [](auto, HANDLE, auto what, void* answer, DWORD size) {
          const bool isKnown = what == FileStandardInfo && size == sizeof(FILE_STANDARD_INFO);
          if (isKnown) static_cast<FILE_STANDARD_INFO*>(answer)->DeletePending = TRUE;
          return isKnown;
        });
    EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"two"));
  }
  {
    // Nobody holds it any more: whoever wants it alone gets it.
    const UniqueFile alone(::CreateFileW(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(alone);
  }
  Append(L"new\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"new"));
}

TEST_F(LogFollowerTest, ALineEndIsNeverTakenFromHalvesOfCharacters) {
  // U+0D00 U+0A00 hold a carriage return's and a line feed's bytes, one off.
  Append(L"a\u0d00\u0a00b\r\n");
  EXPECT_THAT(log_.ReadNewLines(), ElementsAre(L"a\u0d00\u0a00b"));
}

TEST_F(LogFollowerTest, ReadsManyLines) {
  std::wstring text;
  for (int i = 0; i < 20'000; ++i) text += L"line " + std::to_wstring(i) + L"\r\n";
  Append(text);
  const std::vector<std::wstring> lines = log_.ReadNewLines();
  ASSERT_EQ(lines.size(), 20'000u);
  EXPECT_EQ(lines.back(), L"line 19999");
}

TEST(LogLineTest, ProcessesAreToldByNameNumberOrBoth) {
  constexpr wchar_t kLine[] = L"2017-03-01 14:05:09.000 (explorer.exe:4412) Called context menu";
  EXPECT_TRUE(IsLineOfProcess(kLine, L"explorer.exe"));
  EXPECT_TRUE(IsLineOfProcess(kLine, L"4412"));
  EXPECT_TRUE(IsLineOfProcess(kLine, L"explorer.exe:4412"));
  EXPECT_TRUE(IsLineOfProcess(kLine, L"Explorer.EXE"));
  EXPECT_TRUE(IsLineOfProcess(kLine, L"Explorer.EXE:4412"));
  EXPECT_FALSE(IsLineOfProcess(kLine, L"412"));
  EXPECT_FALSE(IsLineOfProcess(kLine, L"explorer"));
  EXPECT_FALSE(IsLineOfProcess(L"no tag", L"explorer.exe"));
  EXPECT_TRUE(IsLineOfProcess(L"t (my (own) tool.exe:7) x", L"my (own) tool.exe"));
}

}  // namespace
}  // namespace veskard
