#include "shellext/contextmenu/AgentChannel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/DropNames.h"
#include "tests/support/DropData.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/Patched.h"

namespace veskard {
namespace {

using test::AgentKind;
using test::FakeAgent;
using test::FakeAgentMutex;
using test::PipeMessages;
using namespace std::chrono_literals;

constexpr wchar_t kUserPipe[] = L"\\\\.\\pipe\\synccmd_SIT";
constexpr wchar_t kServicePipe[] = L"\\\\.\\pipe\\syncsvccmd_SIT";

// The scope is the process's; every test leaves it as a host finds it.
class AgentChannelTest : public testing::Test {
 protected:
  void TearDown() override { SetAgentScope(AgentScope::kUnset); }

  static HRESULT Send(const std::vector<std::wstring>& items, AgentAction action) {
    const test::DropListForTest drop(items);
    return SendAgentCommand(DropNames(drop.Get(), kLongestNameInCommand), static_cast<uint32_t>(items.size()),
                            action);
  }
};

TEST_F(AgentChannelTest, TheScopeIsUnsetAtFirst) {
  EXPECT_EQ(CurrentAgentScope(), AgentScope::kUnset);
}

TEST_F(AgentChannelTest, WithoutAnAgentThereIsNoPipe) {
  for (const AgentScope scope : {AgentScope::kUnset, AgentScope::kUser, AgentScope::kService}) {
    EXPECT_EQ(GetAgentPipeName(scope), L"");
  }
}

TEST_F(AgentChannelTest, TheUsersAgentServesAllScopesButTheServices) {
  const FakeAgentMutex mutex(AgentKind::kUser);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUnset), kUserPipe);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUser), kUserPipe);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kService), L"");
}

TEST_F(AgentChannelTest, TheServiceServesAllScopesButTheUsers) {
  const FakeAgentMutex mutex(AgentKind::kService);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUnset), kServicePipe);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUser), L"");
  EXPECT_EQ(GetAgentPipeName(AgentScope::kService), kServicePipe);
}

TEST_F(AgentChannelTest, WithoutAScopeTheUsersAgentComesFirst) {
  const FakeAgentMutex user(AgentKind::kUser);
  const FakeAgentMutex service(AgentKind::kService);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUnset), kUserPipe);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kUser), kUserPipe);
  EXPECT_EQ(GetAgentPipeName(AgentScope::kService), kServicePipe);
}

TEST_F(AgentChannelTest, AScopeThatNobodyKnowsHasNoAgent) {
  const FakeAgentMutex user(AgentKind::kUser);
  const FakeAgentMutex service(AgentKind::kService);
  for (const uint32_t scope : {3u, 4u, 6u, 0x80000002u, 0xFFFFFFFFu}) {
    EXPECT_EQ(GetAgentPipeName(static_cast<AgentScope>(scope)), L"") << scope;
  }
}

TEST_F(AgentChannelTest, AMutexIsPresentForAsLongAsSomebodyHoldsIt) {
  EXPECT_FALSE(IsMutexPresent(L"Local\\veskard_test_mutex"));
  {
    const UniqueHandle mutex(::CreateMutexW(nullptr, FALSE, L"Local\\veskard_test_mutex"));
    EXPECT_TRUE(IsMutexPresent(L"Local\\veskard_test_mutex"));
    EXPECT_TRUE(IsMutexPresent(L"Local\\veskard_test_mutex"));
  }
  EXPECT_FALSE(IsMutexPresent(L"Local\\veskard_test_mutex"));
}

// What is asked of mutexes, none of which is there.
struct MutexRequests {
  struct Request {
    DWORD access;
    BOOL inherit;
    std::wstring name;
  };
  std::vector<Request> requests;
  const test::Patched<&::OpenMutexW> open{"OpenMutexW",
                                          [this](auto, DWORD access, BOOL inherit, LPCWSTR name) {
                                            requests.push_back({access, inherit, name});
                                            return nullptr;
                                          }};
};

// The service's mutex belongs to another account, which need not grant more.
TEST_F(AgentChannelTest, AMutexIsOpenedForNoMoreThanItTakesToWaitForIt) {
  MutexRequests seen;
  EXPECT_FALSE(IsMutexPresent(L"Global\\pipesynccmd_SIT"));
  ASSERT_EQ(seen.requests.size(), 1u);
  EXPECT_EQ(seen.requests[0].access, 0x100000u);
  EXPECT_FALSE(seen.requests[0].inherit);
  EXPECT_EQ(seen.requests[0].name, L"Global\\pipesynccmd_SIT");
}

struct ProbedMutexes {
  uint32_t scope;
  std::vector<std::wstring> names;
};

TEST_F(AgentChannelTest, EachScopeLooksForTheMutexesOfItsAgentsOnly) {
  const std::wstring user = L"Local\\pipesynccmd_SIT";
  const std::wstring service = L"Global\\pipesynccmd_SIT";
  const ProbedMutexes rows[] = {{0, {user, service}}, {1, {user}}, {2, {service}}, {3, {}}, {0xFFFFFFFF, {}}};
  for (const ProbedMutexes& row : rows) {
    MutexRequests seen;
    EXPECT_EQ(GetAgentPipeName(static_cast<AgentScope>(row.scope)), L"");
    std::vector<std::wstring> names;
    for (const auto& request : seen.requests) names.push_back(request.name);
    EXPECT_EQ(names, row.names) << row.scope;
  }
}

TEST_F(AgentChannelTest, TheServiceGetsTheMessagesOfASelection) {
  SetAgentScope(AgentScope::kService);
  FakeAgent agent(AgentKind::kService);
  EXPECT_EQ(Send({L"C:\\a", L"C:\\b", L"C:\\c"}, AgentAction::kRemoveFromThisDevice), S_OK);
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{"d6:actioni5e4:path4:C:\\ae", "d6:actioni5e4:path4:C:\\be",
                                             "d6:actioni5e4:lasti1e4:path4:C:\\ce"}));
}

TEST_F(AgentChannelTest, TheUsersAgentGetsThemInItsScope) {
  SetAgentScope(AgentScope::kUser);
  FakeAgent agent(AgentKind::kUser);
  EXPECT_EQ(Send({L"C:\\\u00E4"}, AgentAction::kSyncToThisDevice), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni3e4:lasti1e4:path5:C:\\\xC3\xA4"
                                            "e"});
}

TEST_F(AgentChannelTest, WithoutAScopeEitherAgentGetsThem) {
  {
    FakeAgent agent(AgentKind::kService);
    EXPECT_EQ(Send({L"C:\\s"}, AgentAction::kSyncToThisDevice), S_OK);
    EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni3e4:lasti1e4:path4:C:\\se"});
  }
  FakeAgent agent(AgentKind::kUser);
  EXPECT_EQ(Send({L"C:\\u"}, AgentAction::kSyncToThisDevice), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni3e4:lasti1e4:path4:C:\\ue"});
}

TEST_F(AgentChannelTest, ASelectionOfNothingOpensThePipeAndWritesNothing) {
  SetAgentScope(AgentScope::kService);
  FakeAgent agent(AgentKind::kService);
  EXPECT_EQ(Send({}, AgentAction::kSyncToThisDevice), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{});
}

TEST_F(AgentChannelTest, SharingNothingStillWritesItsOneMessage) {
  SetAgentScope(AgentScope::kService);
  FakeAgent agent(AgentKind::kService);
  EXPECT_EQ(Send({}, AgentAction::kShare), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"});
}

TEST_F(AgentChannelTest, AThousandItemsArriveInOrder) {
  SetAgentScope(AgentScope::kService);
  FakeAgent agent(AgentKind::kService);
  std::vector<std::wstring> items;
  for (int i = 0; i < 1000; ++i) items.push_back(L"C:\\" + std::to_wstring(1000 + i));
  EXPECT_EQ(Send(items, AgentAction::kSyncToThisDevice), S_OK);
  const auto batch = agent.NextBatch();
  ASSERT_TRUE(batch.has_value());
  ASSERT_EQ(batch->size(), 1000u);
  EXPECT_EQ(batch->front(), "d6:actioni3e4:path7:C:\\1000e");
  EXPECT_EQ(batch->back(), "d6:actioni3e4:lasti1e4:path7:C:\\1999e");
}

TEST_F(AgentChannelTest, EachCommandOpensThePipeAfresh) {
  SetAgentScope(AgentScope::kService);
  FakeAgent agent(AgentKind::kService);
  EXPECT_EQ(Send({L"C:\\a"}, AgentAction::kSyncToThisDevice), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni3e4:lasti1e4:path4:C:\\ae"});
  EXPECT_EQ(Send({L"C:\\a"}, AgentAction::kCancelReceiving), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni4e4:lasti1e4:path4:C:\\ae"});
}

TEST_F(AgentChannelTest, AMutexWithoutAPipeDropsTheCommand) {
  SetAgentScope(AgentScope::kService);
  const FakeAgentMutex mutex(AgentKind::kService);
  EXPECT_EQ(Send({L"C:\\a"}, AgentAction::kSyncToThisDevice), S_OK);
}

}  // namespace
}  // namespace veskard
