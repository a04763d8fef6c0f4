// The harness itself: that it counts and fails each call, and that it sees what is
// left open.
#include "tests/support/WatchedCalls.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"
#include "tests/support/FileTools.h"

namespace veskard::test {
namespace {

// Two calls, the second of which may fail unnoticed.
bool AskTwice() {
  if (::GetFileAttributesW(L"C:\\") == INVALID_FILE_ATTRIBUTES) return false;
  UniqueHandle(::OpenThread(SYNCHRONIZE, FALSE, ::GetCurrentThreadId()));
  return true;
}

class WatchedCallsTest : public testing::Test {
 protected:
  WatchedCalls calls_{{"GetFileAttributesW", 21}, "OpenThread"};
};

TEST_F(WatchedCallsTest, EachCallFailsOnceAfterARunInWhichNoneDoes) {
  std::vector<std::string> failures;
  bool done = false;
  const size_t count = calls_.FailEach([] {}, [&] { done = AskTwice(); },
                                       [&](const FailedCall& failed) {
                                         failures.push_back(failed.name);
                                         EXPECT_EQ(done, !failed.Is("GetFileAttributesW"));
                                       });
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(failures, (std::vector<std::string>{"none", "GetFileAttributesW", "OpenThread"}));
}

TEST_F(WatchedCallsTest, AHandleLeftOpenIsReported) {
  static WatchedCalls* calls;
  static std::vector<UniqueHandle> leaked;
  calls = &calls_;
  EXPECT_NONFATAL_FAILURE(
      calls->FailEach([] {},
                      [] {
                        if (leaked.empty())
                          leaked.emplace_back(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
                      },
                      [](const FailedCall&) {}),
      "CountOpenHandles()");
  leaked.clear();
}

TEST_F(WatchedCallsTest, CallsAreCountedOfAllThreadsAndOfTheOneThatWatches) {
  ::GetFileAttributesW(L"C:\\");
  std::thread([] { ::GetFileAttributesW(L"C:\\"); }).join();
  EXPECT_EQ(calls_.Of("GetFileAttributesW"), 2);
  EXPECT_EQ(calls_.Numbers(Threads::kAll), (CallNumbers{{"GetFileAttributesW", 2}}));
  EXPECT_EQ(calls_.Numbers(Threads::kThisOne), (CallNumbers{{"GetFileAttributesW", 1}}));
}

DWORD WINAPI OddAttributes(const wchar_t*) {
  return 1234;
}

TEST_F(WatchedCallsTest, AnotherFunctionOfTheSameTypeAnswers) {
  AnswerBy("GetFileAttributesW", reinterpret_cast<void*>(&OddAttributes));
  EXPECT_EQ(::GetFileAttributesW(L"C:\\"), 1234u);
  StopAnswering();
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), 1234u);
  EXPECT_EQ(calls_.Of("GetFileAttributesW"), 2);
}

TEST(WatchedCallsOfAllTest, EveryKnownFunctionThatIsImportedIsWatched) {
  const WatchedCalls calls(::GetModuleHandleW(nullptr));
  AskTwice();
  const CallNumbers numbers = calls.Numbers(Threads::kThisOne);
  EXPECT_EQ(numbers.at("GetFileAttributesW"), 1);
  EXPECT_EQ(numbers.at("OpenThread"), 1);
  EXPECT_EQ(numbers.at("CloseHandle"), 1);
}

TEST(WatchedCallsHoldTest, WhatIsTakenIsHeldUntilItIsGivenBack) {
  const WatchedCalls calls{"FindFirstFileW", "FindClose"};
  WIN32_FIND_DATAW entry;
  UniqueFind search(::FindFirstFileW(L"C:\\*", &entry));
  EXPECT_EQ(calls.Holds(Held::kSearch), 1);
  UniqueFind(::FindFirstFileW(L"C:\\no such file", &entry));
  EXPECT_EQ(calls.Holds(Held::kSearch), 1);
  search.Reset();
  EXPECT_EQ(calls.Holds(Held::kSearch), 0);
}

TEST(WatchedCallsOfAllTest, AFunctionThatCannotBeWatchedIsReported) {
  EXPECT_NONFATAL_FAILURE(WatchedCalls{"CreateFileA"}, "CreateFileA has no row in KnownCalls.cpp");
  EXPECT_NONFATAL_FAILURE(WatchedCalls{"GdipDrawArcI"}, "GdipDrawArcI is not imported");
}

TEST(FailingCallTest, ItsResultAndItsErrorAreGivenOnce) {
  const FailingCall failing("GetFileAttributesW", 21, 2);
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  EXPECT_FALSE(failing.Happened());
  const DWORD attributes = ::GetFileAttributesW(L"C:\\");
  const DWORD error = ::GetLastError();
  EXPECT_EQ(attributes, INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(error, 21u);
  EXPECT_TRUE(failing.Happened());
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
}

TEST(FailingCallTest, AFunctionWhoseAnswerIsItsErrorAnswersTheGivenOne) {
  const FailingCall failing("RegOpenKeyExW", 21);
  HKEY key = nullptr;
  EXPECT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key), 21);
  EXPECT_EQ(key, nullptr);
}

TEST(FailingCallTest, CallsOfOtherThreadsDoNotFail) {
  const FailingCall failing("GetFileAttributesW");
  DWORD attributes = INVALID_FILE_ATTRIBUTES;
  std::thread([&] { attributes = ::GetFileAttributesW(L"C:\\"); }).join();
  EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
}

TEST(FaultsTest, FromAMomentOnEveryRequestOfAllThreadsFails) {
  const WatchedCalls calls{"GetFileAttributesW"};
  const ArmedFault fault(
      {.kind = FaultKind::kSystemCall, .number = 2, .span = FaultSpan::kFromThen, .threads = Threads::kAll});
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  DWORD attributes = 0;
  std::thread([&] { attributes = ::GetFileAttributesW(L"C:\\"); }).join();
  EXPECT_EQ(attributes, INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(Faults::Requests(), 3u);
  EXPECT_EQ(Faults::FirstFailed().number, 2u);
}

TEST(CountOpenHandlesTest, CountsWhatIsOpenedAndClosed) {
  const size_t before = CountOpenHandles();
  UniqueHandle first(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  UniqueHandle second(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  EXPECT_EQ(CountOpenHandles(), before + 2);
  first.Reset();
  EXPECT_EQ(CountOpenHandles(), before + 1);
}

}  // namespace
}  // namespace veskard::test
