#include "shellext/contextmenu/AgentSender.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <system_error>
#include <thread>

#include "core/WindowsOwners.h"
#include "shellext/module/Module.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::AgentKind;
using test::FakeAgent;
using test::PipeMessages;
using namespace std::chrono_literals;

constexpr wchar_t kServicePipe[] = L"\\\\.\\pipe\\syncsvccmd_SIT";

CommandBatch BatchOf(std::initializer_list<int32_t> numbers) {
  CommandBatch batch;
  for (const int32_t number : numbers) {
    batch.push_back(std::make_unique<BencodedDict>());
    batch.back()->InsertInt("n", number);
  }
  return batch;
}

// Waits until no sender counts as a user of the module any more.
bool WaitForSenders() {
  for (int i = 0; i < 1000 && ModuleLockCount() != 0; ++i) std::this_thread::sleep_for(10ms);
  return ModuleLockCount() == 0;
}

TEST(AgentSenderTest, WritesOneMessageForEachDictionaryInOrder) {
  FakeAgent agent(AgentKind::kService);
  AgentSenderThread(kServicePipe, BatchOf({1, 2, 3}));
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{"d1:ni1ee", "d1:ni2ee", "d1:ni3ee"}));
}

TEST(AgentSenderTest, ADictionaryThatSerialisesToNothingIsLeftOut) {
  FakeAgent agent(AgentKind::kService);
  CommandBatch batch = BatchOf({1, 2, 3});
  batch[1]->Reset();
  AgentSenderThread(kServicePipe, std::move(batch));
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{"d1:ni1ee", "d1:ni3ee"}));
}

TEST(AgentSenderTest, AMessageLargerThanTheFirstBufferIsStillOneMessage) {
  FakeAgent agent(AgentKind::kService);
  CommandBatch batch = BatchOf({1});
  batch[0]->Insert("s", BencValue::FromString(std::string(300'000, 'x')));
  AgentSenderThread(kServicePipe, std::move(batch));
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d1:ni1e1:s300000:" + std::string(300'000, 'x') + "e"});
}

TEST(AgentSenderTest, APipeThatIsNotThereDropsTheBatch) {
  AgentSenderThread(L"\\\\.\\pipe\\veskard_test_missing", BatchOf({1}));
}

TEST(AgentSenderTest, APipeOfBytesDropsTheBatch) {
  const wchar_t name[] = L"\\\\.\\pipe\\veskard_test_bytes";
  const UniqueFile server(
      ::CreateNamedPipeW(name, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 64, 64, 0, nullptr));
  AgentSenderThread(name, BatchOf({1}));
  DWORD waiting = 1;
  char bytes[64];
  DWORD read = 0;
  EXPECT_FALSE(::ReadFile(server.Get(), bytes, sizeof(bytes), &read, nullptr) && read > 0);
  EXPECT_TRUE(!::PeekNamedPipe(server.Get(), nullptr, 0, nullptr, &waiting, nullptr) || waiting == 0);
}

TEST(AgentSenderTest, ABusyPipeDropsTheBatch) {
  FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
  const UniqueFile other(::CreateFileW(kServicePipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(other);
  AgentSenderThread(kServicePipe, BatchOf({1}));
}

TEST(AgentSenderTest, TheThreadCountsAsAUserOfTheModuleWhileItRuns) {
  FakeAgent agent(AgentKind::kService);
  ASSERT_EQ(ModuleLockCount(), 0u);
  StartAgentSender(kServicePipe, BatchOf({1, 2}));
  EXPECT_EQ(agent.NextBatch(), (PipeMessages{"d1:ni1ee", "d1:ni2ee"}));
  EXPECT_TRUE(WaitForSenders());
}

TEST(AgentSenderTest, StartingReturnsAtOnceWhateverTheAgentDoes) {
  {
    FakeAgent agent(AgentKind::kService, FakeAgent::Reading::kNothing);
    const auto start = std::chrono::steady_clock::now();
    CommandBatch batch = BatchOf({1});
    batch[0]->Insert("s", BencValue::FromString(std::string(1'000'000, 'x')));
    StartAgentSender(kServicePipe, std::move(batch));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    ASSERT_TRUE(agent.WaitForClient());
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(ModuleLockCount(), 1u) << "the sender should be waiting for its reader";
  }
  EXPECT_TRUE(WaitForSenders()) << "the agent's end should have ended the sender";
}

TEST(AgentSenderTest, ARefusedThreadIsASystemError) {
  FakeAgent agent(AgentKind::kService);
  const test::FailingCall refusal("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
  try {
    StartAgentSender(kServicePipe, BatchOf({1}));
    FAIL() << "nothing was thrown";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ERROR_NOT_ENOUGH_MEMORY);
  }
  EXPECT_EQ(ModuleLockCount(), 0u);
  EXPECT_EQ(agent.NextBatch(200ms), std::nullopt);
}

TEST(AgentSenderTest, SeveralSendersAtOnceEachHaveAConnectionOfTheirOwn) {
  FakeAgent agent(AgentKind::kService);
  for (int32_t i = 0; i < 4; ++i) StartAgentSender(kServicePipe, BatchOf({i, i}));
  std::multiset<PipeMessages> received;
  for (int i = 0; i < 4; ++i) received.insert(agent.NextBatch().value());
  std::multiset<PipeMessages> expected;
  for (int i = 0; i < 4; ++i) expected.insert(PipeMessages(2, "d1:ni" + std::to_string(i) + "ee"));
  EXPECT_EQ(received, expected);
  EXPECT_TRUE(WaitForSenders());
}

}  // namespace
}  // namespace veskard
