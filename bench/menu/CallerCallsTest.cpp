// The caller never waits for the agent: whatever state the agent is in, the thread that
// right-clicks and chooses makes the same calls of the system, each equally often, and
// none in which it could wait. That no lock is held either is seen by these calls coming
// back while a sender is stuck.
#include <gmock/gmock.h>

#include <memory>

#include "bench/menu/BenchSelection.h"
#include "bench/menu/CallTally.h"
#include "bench/menu/MenuHost.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

using test::AgentKind;
using test::FakeAgent;

// The log is off, and no mark is read when a command is chosen: no file is opened then.
constexpr const char* kNeverInAChoice[] = {"CreateFileW", "ReadFile", "WriteFile", "FlushFileBuffers"};
constexpr const char* kNever[] = {
    "Sleep",          "WaitForSingleObject",    "SleepConditionVariableCS", "GetOverlappedResult",
    "CreateProcessW", "SetNamedPipeHandleState"};

// What is not imported is not called.
long TimesOf(const CallNumbers& calls, const std::string& function) {
  const auto found = calls.find(function);
  return found == calls.end() ? 0 : found->second;
}

/// One right-click and one choice: the calls of this thread.
struct CallersCalls {
  CallNumbers query;
  CallNumbers choice;
};

void ExpectSame(const CallersCalls& calls, const CallersCalls& others, const char* agent) {
  EXPECT_EQ(calls.query, others.query) << agent;
  EXPECT_EQ(calls.choice, others.choice) << agent;
}

class CallerCallsTest : public testing::Test {
 protected:
  CallerCallsTest() {
    Call();  // what a process does but once
  }

  CallersCalls Call() {
    const test::MenuHandler handler(host_.Extension());
    BenchSelection selection(folder_.First(3));
    handler.Select(selection.Data());
    const UniqueMenu menu(::CreatePopupMenu());
    CallersCalls calls;
    {
      const CallTally tally(host_.Library(), CallTally::Of::kThisThread);
      EXPECT_EQ(handler.Query(menu.Get()), 6);
      calls.query = tally.Numbers();
    }
    {
      const CallTally tally(host_.Library(), CallTally::Of::kThisThread);
      EXPECT_EQ(handler.Invoke(UINT_PTR{2}), S_OK);
      calls.choice = tally.Numbers();
    }
    handler.Select(nullptr);
    return calls;
  }

  const MenuHost host_;
  const BenchFolder folder_{3};
};

TEST_F(CallerCallsTest, AreTheSameWhateverTheAgentDoes) {
  const CallersCalls withoutPipe = Call();
  EXPECT_EQ(TimesOf(withoutPipe.choice, "CreateThread"), 1) << "nothing is counted";
  {
    FakeAgent prompt(AgentKind::kService);
    ExpectSame(Call(), withoutPipe, "an agent that reads at once");
    EXPECT_TRUE(prompt.NextBatch().has_value());
  }
  FakeAgent stuck(AgentKind::kService, FakeAgent::Reading::kNothing);
  ExpectSame(Call(), withoutPipe, "an agent that never reads");
  ASSERT_TRUE(stuck.WaitForClient());
  ExpectSame(Call(), withoutPipe, "an agent that is busy with a sender that is stuck");
}

TEST_F(CallerCallsTest, AreNoneThatWait) {
  const CallersCalls calls = Call();
  for (const char* function : kNever) {
    EXPECT_EQ(TimesOf(calls.query, function), 0) << function;
    EXPECT_EQ(TimesOf(calls.choice, function), 0) << function;
  }
  for (const char* function : kNeverInAChoice) EXPECT_EQ(TimesOf(calls.choice, function), 0) << function;
}

}  // namespace
}  // namespace veskard::bench
