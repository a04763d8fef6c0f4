// The harness itself: that it fails each call, and that it sees what is left open.
#include "tests/support/FailingCalls.h"

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
  UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  return true;
}

class FailingCallsTest : public testing::Test {
 protected:
  FailingCalls calls_{Watch<&::GetFileAttributesW>("GetFileAttributesW", INVALID_FILE_ATTRIBUTES, 21),
                      Watch<&::CreateEventW>("CreateEventW", nullptr)};
};

TEST_F(FailingCallsTest, EachCallFailsOnceAfterARunInWhichNoneDoes) {
  std::vector<std::string> failures;
  bool done = false;
  const size_t count = calls_.FailEach([] {}, [&] { done = AskTwice(); },
                                       [&](const FailedCall& failed) {
                                         failures.push_back(failed.name);
                                         EXPECT_EQ(done, !failed.Is("GetFileAttributesW"));
                                       });
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(failures, (std::vector<std::string>{"none", "GetFileAttributesW", "CreateEventW"}));
}

TEST_F(FailingCallsTest, AFailingCallGivesItsResultAndItsError) {
  CallCounter::Arm(1);
  const DWORD attributes = ::GetFileAttributesW(L"C:\\");
  const DWORD error = ::GetLastError();
  CallCounter::Disarm();
  EXPECT_EQ(attributes, INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(error, 21u);
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), INVALID_FILE_ATTRIBUTES);
}

TEST_F(FailingCallsTest, CallsOfOtherThreadsAreNotCounted) {
  CallCounter::Arm(1);
  DWORD attributes = INVALID_FILE_ATTRIBUTES;
  std::thread([&] { attributes = ::GetFileAttributesW(L"C:\\"); }).join();
  CallCounter::Disarm();
  EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
}

TEST_F(FailingCallsTest, AHandleLeftOpenIsReported) {
  static FailingCalls* calls;
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
