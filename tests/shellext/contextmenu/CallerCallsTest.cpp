// The caller never waits for the agent: whatever state the agent is in, the thread that
// right-clicks and chooses makes the same calls of the system, each equally often, and
// none in which it could wait. That no lock is held either is seen by these calls coming
// back while a sender is stuck.
#include <gmock/gmock.h>

#include "tests/shellext/contextmenu/CallingHost.h"

namespace veskard::test {
namespace {

// The log is off, and no mark is read when a command is chosen: no file is opened then.
constexpr const char* kNeverInAChoice[] = {"CreateFileW", "ReadFile", "WriteFile", "FlushFileBuffers"};
constexpr const char* kNever[] = {
    "Sleep",          "WaitForSingleObject",    "SleepConditionVariableCS", "GetOverlappedResult",
    "CreateProcessW", "SetNamedPipeHandleState"};

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
    tree_.MarkRoot(L"folder", kSelectiveRemovable);
    items_ = {tree_.MakeFile(L"folder\\a.jpg"), tree_.MakePlaceholder(L"folder\\b.jpg.ghpl", kNotReceived),
              tree_.MakeFile(L"folder\\c.jpg")};
    Call();  // what a process does once only
  }

  CallersCalls Call() {
    const MenuHandler handler(host_.Library());
    FakeDataObject selection(items_);
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    const CallersCalls calls = {
        host_.CallsOf([&] { EXPECT_EQ(handler.Query(menu.Get()), 6); }, Threads::kThisOne),
        host_.CallsOf([&] { EXPECT_EQ(handler.Invoke(UINT_PTR{2}), S_OK); }, Threads::kThisOne)};
    handler.Select(nullptr);
    return calls;
  }

  const CallingHost host_;
  SyncTree tree_;
  std::vector<std::wstring> items_;
};

TEST_F(CallerCallsTest, AreTheSameWhateverTheAgentDoes) {
  const CallersCalls withoutPipe = Call();
  EXPECT_EQ(withoutPipe.choice.at("CreateThread"), 1) << "nothing is counted";
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
    EXPECT_NE(FindKnownCall(function), nullptr) << function << " would not be counted";
    EXPECT_FALSE(calls.query.contains(function)) << function;
    EXPECT_FALSE(calls.choice.contains(function)) << function;
  }
  for (const char* function : kNeverInAChoice) EXPECT_FALSE(calls.choice.contains(function)) << function;
}

}  // namespace
}  // namespace veskard::test
