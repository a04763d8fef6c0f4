#include "tools/standin_agent/StandinAgent.h"

#include <gmock/gmock.h>

#include <future>
#include <set>
#include <thread>

#include "tools/common/ToolError.h"

namespace veskard {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

// The per-user names keep clear of other tests, which play the service.
constexpr AgentKind kKind = AgentKind::kUser;

UniqueFile Connect() {
  UniqueFile pipe(::CreateFileW(kUserEndpoint.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  DWORD mode = PIPE_READMODE_MESSAGE;
  EXPECT_TRUE(pipe);
  EXPECT_TRUE(::SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr));
  return pipe;
}

bool Send(HANDLE pipe, const std::string& message) {
  DWORD written = 0;
  return ::WriteFile(pipe, message.data(), static_cast<DWORD>(message.size()), &written, nullptr);
}

bool MutexIsThere() {
  return static_cast<bool>(UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, kUserEndpoint.mutex)));
}

std::vector<std::string> BytesOf(const std::vector<ReceivedMessage>& messages) {
  std::vector<std::string> bytes;
  for (const ReceivedMessage& message : messages) bytes.push_back(message.bytes);
  return bytes;
}

TEST(StandinAgentTest, KeepsEveryMessageOfAClientInOrder) {
  StandinAgent agent({.kind = kKind});
  const UniqueFile client = Connect();
  Send(client.Get(), "d6:actioni3ee");
  Send(client.Get(), std::string("a\0b", 3));
  ASSERT_TRUE(agent.WaitForMessages(2, 10s));
  EXPECT_THAT(BytesOf(agent.Messages()), ElementsAre("d6:actioni3ee", std::string("a\0b", 3)));
}

TEST(StandinAgentTest, JoinsAMessageOfManyPieces) {
  StandinAgent agent({.kind = kKind});
  const std::string large(300'000, 'x');
  const UniqueFile client = Connect();
  Send(client.Get(), large);
  Send(client.Get(), "y");
  ASSERT_TRUE(agent.WaitForMessages(2, 10s));
  EXPECT_THAT(BytesOf(agent.Messages()), ElementsAre(large, "y"));
}

TEST(StandinAgentTest, ServesManyClientsAtOnce) {
  constexpr size_t kClients = 40;
  StandinAgent agent({.kind = kKind});
  std::vector<UniqueFile> clients;
  for (size_t i = 0; i < kClients; ++i) clients.push_back(Connect());
  for (const UniqueFile& client : clients) Send(client.Get(), "hello");
  EXPECT_TRUE(agent.WaitForMessages(kClients, 10s));
}

TEST(StandinAgentTest, ServesOneClientAfterAnother) {
  constexpr size_t kClients = 40;
  StandinAgent agent({.kind = kKind});
  for (size_t i = 0; i < kClients; ++i) Send(Connect().Get(), "hello");
  ASSERT_TRUE(agent.WaitForMessages(kClients, 10s));
  std::set<uint32_t> clients;
  for (const ReceivedMessage& message : agent.Messages()) clients.insert(message.client);
  EXPECT_EQ(clients.size(), kClients);
}

TEST(StandinAgentTest, CountsCommandsByTheirLastMessage) {
  StandinAgent agent({.kind = kKind});
  const UniqueFile client = Connect();
  Send(client.Get(), "d6:actioni3ee");
  Send(client.Get(), "d6:actioni3e4:lasti1ee");
  EXPECT_TRUE(agent.WaitForBatches(1, 10s));
  EXPECT_FALSE(agent.WaitForBatches(2, 50ms));
}

TEST(StandinAgentTest, AnnouncesItselfForAsLongAsItLives) {
  {
    const StandinAgent agent({.kind = kKind});
    EXPECT_TRUE(MutexIsThere());
  }
  EXPECT_FALSE(MutexIsThere());
}

TEST(StandinAgentTest, RefusesToStandBesideAnother) {
  const StandinAgent agent({.kind = kKind});
  EXPECT_THROW(StandinAgent({.kind = kKind}), ToolError);
  EXPECT_TRUE(MutexIsThere());
}

TEST(StandinAgentTest, CanLackItsMutex) {
  StandinAgent agent({.kind = kKind, .faults = {.withoutMutex = true}});
  EXPECT_FALSE(MutexIsThere());
  Send(Connect().Get(), "still served");
  EXPECT_TRUE(agent.WaitForMessages(1, 10s));
}

TEST(StandinAgentTest, CanLackItsPipe) {
  const StandinAgent agent({.kind = kKind, .faults = {.withoutPipe = true}});
  EXPECT_TRUE(MutexIsThere());
  const UniqueFile pipe(
      ::CreateFileW(kUserEndpoint.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_FALSE(pipe);
}

TEST(StandinAgentTest, AClientOfOneThatNeverReadsWaitsUntilItGoes) {
  auto agent =
      std::make_unique<StandinAgent>(StandinAgent::Options{.kind = kKind, .faults = {.neverReads = true}});
  const UniqueFile client = Connect();
  std::future<bool> sent = std::async(std::launch::async, [&] {
    const std::string message(4096, 'x');
    bool accepted = true;
    for (int i = 0; accepted && i < 100; ++i) accepted = Send(client.Get(), message);
    return accepted;
  });
  EXPECT_EQ(sent.wait_for(300ms), std::future_status::timeout);
  agent.reset();
  ASSERT_EQ(sent.wait_for(10s), std::future_status::ready);
  EXPECT_FALSE(sent.get());
}

TEST(StandinAgentTest, DiesAfterItsMessages) {
  StandinAgent agent({.kind = kKind, .faults = {.diesAfterMessages = 2}});
  const UniqueFile client = Connect();
  while (Send(client.Get(), "x")) {
  }
  EXPECT_TRUE(agent.IsDead());
  EXPECT_FALSE(MutexIsThere());
  EXPECT_EQ(agent.Messages().size(), 2u);
}

TEST(StandinAgentTest, DiesInTheMiddleOfAMessage) {
  StandinAgent agent({.kind = kKind, .faults = {.diesAfterBytes = 12}});
  const UniqueFile client = Connect();
  while (Send(client.Get(), "ten bytes.")) {
  }
  EXPECT_TRUE(agent.IsDead());
  EXPECT_THAT(BytesOf(agent.Messages()), ElementsAre("ten bytes."));
}

}  // namespace
}  // namespace veskard
