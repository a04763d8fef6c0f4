// The log of whole processes: how they end, and what they do to a log that they
// share.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>

#include "tests/shellext/module/LogFixture.h"
#include "tests/shellext/module/LogHost.h"
#include "tests/support/ChildProcess.h"

namespace veskard {
namespace {

namespace fs = std::filesystem;
using test::ChildProcess;
using ::testing::ElementsAre;

constexpr wchar_t kStart[] = L"=== start ===";
constexpr wchar_t kEnd[] = L"==== end ====";
constexpr uint64_t kThreshold = 104'857'600;
constexpr uint64_t kPageSize = 4096;

/// How many bytes follow the last "\r\n" of a UTF-16 file.
uint64_t LengthOfUnfinishedLine(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  constexpr std::string_view kLineEnd{"\r\0\n\0", 4};
  const size_t end = bytes.rfind(kLineEnd);
  return end == std::string::npos ? bytes.size() : bytes.size() - end - kLineEnd.size();
}

class LogProcessesTest : public test::LogFixture {
 protected:
  std::unique_ptr<ChildProcess> StartHost(const std::wstring& scenario) const {
    return std::make_unique<ChildProcess>(test::BuiltTestProgram(L"log_host.exe"),
                                          registry_.Name() + L" " + scenario);
  }

  void SettleLastLine() const;

  UniqueHandle Event(const std::wstring& name) const {
    return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, LogHostObject(registry_.Name(), name).c_str()));
  }
};

// Windows finishes a killed process's write; the systems below Wine may break it off
// between two pages of the file, and report the process as ended before that. Waits
// for a line that is still being written, and cuts off one that never will be.
void LogProcessesTest::SettleLastLine() const {
  const auto rest = [this] { return LengthOfUnfinishedLine(File()); };
  for (int polls = 0; rest() != 0 && polls < 50; ++polls) ::Sleep(20);
  const uint64_t unfinished = rest();
  if (unfinished == 0) return;
  const uint64_t size = fs::file_size(File());
  EXPECT_EQ(size % kPageSize, 0u) << "a line of which " << unfinished << " bytes are there";
  std::cout << "a kill broke a line off at byte " << size << "\n";
  fs::resize_file(File(), size - unfinished);
}

// ---- How a host ends

TEST_F(LogProcessesTest, AHostThatReturnsWritesTheEndLine) {
  EXPECT_EQ(StartHost(L"exit")->Wait(), kLogHostExitCode);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"last words", kEnd));
}

TEST_F(LogProcessesTest, AHostThatUnloadsWritesTheEndLineOnce) {
  EXPECT_EQ(StartHost(L"unload")->Wait(), kLogHostExitCode);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"last words", kEnd));
}

TEST_F(LogProcessesTest, AKilledHostLeavesItsLinesAndTheNextOneGoesOn) {
  const UniqueHandle ready = Event(L"ready");
  const auto host = StartHost(L"wait");
  ASSERT_EQ(::WaitForSingleObject(ready.Get(), 60'000), WAIT_OBJECT_0);
  host->Kill();
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"last words"));
  EXPECT_EQ(StartHost(L"exit")->Wait(), kLogHostExitCode);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"last words", kStart, L"last words", kEnd));
}

TEST_F(LogProcessesTest, AHostKilledInTheMiddleOfItsLinesLeavesWholeOnes) {
  const UniqueHandle ready = Event(L"ready");
  for (int round = 0; round < 10; ++round) {
    ::ResetEvent(ready.Get());
    const auto host = StartHost(L"killed-writing");
    ASSERT_EQ(::WaitForSingleObject(ready.Get(), 60'000), WAIT_OBJECT_0);
    host->Kill();
    SettleLastLine();
    std::vector<std::wstring> messages = Messages();  // whole lines only
    ASSERT_GT(messages.size(), 1u);
    EXPECT_EQ(messages.front(), kStart);
    messages.erase(messages.begin());
    EXPECT_THAT(messages, ::testing::Each(std::wstring(L"and another one")));
    // The next host goes on where the lines end.
    EXPECT_EQ(StartHost(L"exit")->Wait(), kLogHostExitCode);
    EXPECT_EQ(Messages().back(), kEnd);
    fs::remove(File());
  }
}

TEST_F(LogProcessesTest, AHostWhoseOtherThreadsAreWritingExits) {
  for (int round = 0; round < 40; ++round) {
    ASSERT_EQ(StartHost(L"exit-writing")->Wait(), kLogHostExitCode) << round;
    std::vector<std::wstring> messages = Messages();  // whole lines only
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front(), kStart);
    if (messages.back() == kEnd) messages.pop_back();
    messages.erase(messages.begin());
    EXPECT_THAT(messages, ::testing::Each(std::wstring(L"and another one")));
    fs::remove(File());
  }
}

TEST_F(LogProcessesTest, AHostWhoseThreadStaysInsideTheLogExitsWithoutAnEndLine) {
  EXPECT_EQ(StartHost(L"exit-inside")->Wait(), kLogHostExitCode);
  EXPECT_THAT(Messages(), ElementsAre(kStart, L"last words"));
}

// A thread that the exit ended may have been inside the heap, whose lock it then
// holds for ever.
TEST_F(LogProcessesTest, TheHeapIsLeftAloneWhereADeadThreadWasInsideTheLog) {
  EXPECT_EQ(StartHost(L"exit-inside-heap")->Wait(), kLogHostExitCode);
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(LogProcessesTest, TheHeapIsLeftAloneWhereThereIsNoEndLineToWrite) {
  SetSwitch(0);
  for (const wchar_t* scenario : {L"exit-heap", L"exit-heap-shipped"})
    EXPECT_EQ(StartHost(scenario)->Wait(), kLogHostExitCode) << scenario;
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(LogProcessesTest, AHostThatForbidsTheHeapNoticesItsUse) {
  EXPECT_EQ(StartHost(L"exit-heap")->Wait(), kLogHostHeapTouched) << "by the end line";
}

TEST_F(LogProcessesTest, AHostWithoutALogFolderExitsQuietly) {
  fs::remove(Folder());
  for (const wchar_t* scenario : {L"exit", L"unload", L"exit-writing", L"exit-inside"})
    EXPECT_EQ(StartHost(scenario)->Wait(), kLogHostExitCode);
  EXPECT_FALSE(fs::exists(Folder()));
}

// ---- One log for several processes

/// Six hosts that write their lines at the same time.
class SharedLogTest : public LogProcessesTest {
 protected:
  static constexpr int kHosts = 6;
  static constexpr int kLines = 2000;

  /// Lines of each host, in the order in which they stand in the files.
  using LinesOfHosts = std::map<std::wstring, std::vector<int>>;

  void StartWriters(const std::wstring& scenario) {
    for (int host = 0; host < kHosts; ++host) {
      const std::wstring name(1, static_cast<wchar_t>(L'a' + host));
      ready_.push_back(Event(name + L"-ready"));
      half_.push_back(Event(name + L"-half"));
      writers_.push_back(StartHost(scenario + L" " + name + L" " + std::to_wstring(kLines)));
      WaitForAll(ready_);  // one start line at a time
    }
  }

  void WriteFirstHalf() {
    ::SetEvent(first_.Get());
    WaitForAll(half_);
  }

  void WriteSecondHalf() {
    ::SetEvent(second_.Get());
    for (const auto& writer : writers_) EXPECT_EQ(writer->Wait(300'000), kLogHostExitCode);
  }

  static void AddLines(LinesOfHosts& lines, const std::vector<std::wstring>& messages) {
    for (const std::wstring& message : messages) {
      if (message == kStart || message == kEnd || message == L"last words") continue;
      EXPECT_EQ(message[1], L' ') << ::testing::PrintToString(message);
      lines[message.substr(0, 1)].push_back(std::stoi(message.substr(2)));
    }
  }

  /// 0, 1, 2 ... count-1.
  static std::vector<int> Numbers(size_t count) {
    std::vector<int> numbers(count);
    for (size_t i = 0; i < count; ++i) numbers[i] = static_cast<int>(i);
    return numbers;
  }

  static void ExpectEveryLine(const LinesOfHosts& lines) {
    EXPECT_EQ(lines.size(), size_t{kHosts});
    for (const auto& [host, numbers] : lines) EXPECT_EQ(numbers, Numbers(kLines));
  }

 private:
  static void WaitForAll(const std::vector<UniqueHandle>& events) {
    for (const UniqueHandle& event : events)
      ASSERT_EQ(::WaitForSingleObject(event.Get(), 300'000), WAIT_OBJECT_0);
  }

  UniqueHandle first_ = Event(L"first");
  UniqueHandle second_ = Event(L"second");
  std::vector<UniqueHandle> ready_;
  std::vector<UniqueHandle> half_;
  std::vector<std::unique_ptr<ChildProcess>> writers_;
};

TEST_F(SharedLogTest, NoLineIsLostOrSplit) {
  StartWriters(L"write-whole");
  WriteFirstHalf();
  WriteSecondHalf();
  LinesOfHosts lines;
  AddLines(lines, Messages());
  ExpectEveryLine(lines);
}

/// "c 1234"
bool IsWritersMessage(const std::wstring& message) {
  return message.size() > 2 && message[0] >= L'a' && message[0] <= L'f' && message[1] == L' ' &&
         message.find_first_not_of(L"0123456789", 2) == std::wstring::npos;
}

TEST_F(SharedLogTest, MostLinesSurviveWinesOwnAppends) {
  StartWriters(L"write");
  WriteFirstHalf();
  WriteSecondHalf();
  // Wine loses a line when two processes find the same end of the file; writing at
  // positions of their own, the hosts would leave no more than a sixth.
  size_t whole = 0;
  for (const std::wstring& line : Lines())
    whole += test::IsLogLine(line) && IsWritersMessage(test::MessageOf(line)) ? 1u : 0u;
  RecordProperty("whole_lines_of_12000", static_cast<int>(whole));
  std::cout << whole << " of " << kHosts * kLines << " lines are whole\n";
  EXPECT_GT(whole, size_t{kHosts * kLines / 2});
}

TEST_F(SharedLogTest, NoLineIsLostThroughARotationByOne) {
  MakeLongFile(kThreshold - 3'000'000);  // room for the first half
  StartWriters(L"write-whole");
  WriteFirstHalf();
  ASSERT_FALSE(fs::exists(OldFile()));
  fs::resize_file(File(), kThreshold);
  EXPECT_EQ(StartHost(L"exit")->Wait(), kLogHostExitCode);  // its lines pass the threshold
  ASSERT_TRUE(fs::exists(OldFile()));
  WriteSecondHalf();
  LinesOfHosts lines;
  AddLines(lines, test::ReadLogMessages(OldFile()));
  AddLines(lines, Messages());

  ExpectEveryLine(lines);
}

TEST_F(SharedLogTest, ARotationByAllAtOnceSplitsNoLineAndLosesNoneBeforeIt) {
  constexpr uint64_t kRoom = 600'000;
  MakeLongFile(kThreshold - kRoom);
  StartWriters(L"write-whole");
  WriteFirstHalf();
  WriteSecondHalf();
  LinesOfHosts lines;
  AddLines(lines, test::ReadLogMessages(OldFile()));
  size_t before = 0;
  for (const auto& [host, numbers] : lines) before += numbers.size();
  EXPECT_GT(before * 150, kRoom);  // a line takes less than 150 bytes
  AddLines(lines, Messages());
  // A host whose new file was discarded by another's rotation writes no more of
  // what anyone can read; what can be read has no gaps.
  for (const auto& [host, numbers] : lines) EXPECT_EQ(numbers, Numbers(numbers.size()));
}

}  // namespace
}  // namespace veskard
