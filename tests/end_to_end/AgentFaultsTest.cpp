// Agents that are not what they should be: the host never waits for them, and what
// they do not take is lost without harm.
#include <algorithm>
#include <map>

#include "tests/end_to_end/RightClickTest.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ThreadWatch.h"
#include "tools/standin_agent/AgentEndpoint.h"

namespace veskard::test {
namespace {

using testing::IsEmpty;

/// A pipe by the service agent's name, made by hand, and the mutex that announces it.
class RawPipe {
 public:
  RawPipe(DWORD mode, DWORD instances)
      : mutex_(::CreateMutexW(nullptr, FALSE, kServiceEndpoint.mutex)),
        pipe_(::CreateNamedPipeW(kServiceEndpoint.pipe, PIPE_ACCESS_INBOUND, mode, instances, 4096, 4096, 0,
                                 nullptr)) {
    EXPECT_TRUE(pipe_) << ::GetLastError();
  }

  /// What a client has left there; empty for nothing.
  std::string Read() const {
    char bytes[4096] = {};
    DWORD size = 0;
    return ::PeekNamedPipe(pipe_.Get(), bytes, sizeof(bytes), &size, nullptr, nullptr)
               ? std::string(bytes, size)
               : std::string();
  }

 private:
  UniqueHandle mutex_;
  UniqueFile pipe_;
};

class AgentFaultsTest : public RightClickTest {
 protected:
  // The command is over, sender and all, without anybody having taken it.
  void ExpectDropped(const ShellMenu& menu) {
    const ThreadWatch senders;
    EXPECT_EQ(menu.Invoke(kSyncOffset), S_OK);
    EXPECT_TRUE(senders.WaitForNewThreads(std::chrono::seconds(5)));
  }

  Paths Items(const std::wstring& name, int count) const {
    Paths paths;
    for (int i = 0; i < count; ++i) paths.push_back(folder_ / (name + std::to_wstring(i)));
    return paths;
  }
};

TEST_F(AgentFaultsTest, APipeThatNothingAnnouncesIsNotLookedFor) {
  ReplaceAgent({.withoutMutex = true});
  const ShellMenu menu = RightClick({File(L"a")});
  EXPECT_EQ(menu.Answer(), E_NOTIMPL);
  ExpectDropped(menu);
  EXPECT_THAT(Agent().Messages(), IsEmpty());
}

TEST_F(AgentFaultsTest, APipeOfBytesGetsNothing) {
  RemoveAgent();
  const RawPipe pipe(PIPE_TYPE_BYTE, PIPE_UNLIMITED_INSTANCES);
  ExpectDropped(RightClick({File(L"a")}));
  EXPECT_EQ(pipe.Read(), "");
}

TEST_F(AgentFaultsTest, ABusyAgentIsNotWaitedFor) {
  RemoveAgent();
  const RawPipe pipe(PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1);
  const UniqueFile somebodyElse(
      ::CreateFileW(kServiceEndpoint.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(somebodyElse);
  ExpectDropped(RightClick({File(L"a")}));
  EXPECT_EQ(pipe.Read(), "");
}

TEST_F(AgentFaultsTest, AnAgentThatGoesBetweenTheMenuAndTheChoiceIsNoTrouble) {
  const ShellMenu menu = RightClick(Items(L"item ", 500));
  RemoveAgent();
  ExpectDropped(menu);
}

TEST_F(AgentFaultsTest, FiftySendersThatWaitHoldNobody) {
  ReplaceAgent({.neverReads = true});
  const ShellMenu menu = RightClick(Items(L"item ", 500));
  const ThreadWatch senders;
  for (int i = 0; i < 50; ++i) EXPECT_EQ(menu.Invoke(kSyncOffset), S_OK);
  // All fifty are stuck, and another right-click is answered.
  EXPECT_FALSE(senders.WaitForNewThreads(std::chrono::milliseconds(100)));
  Root();
  EXPECT_EQ(MenuOf({File(L"Root\\a.txt")}).size(), 2u);
  RemoveAgent();
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));
}

TEST_F(AgentFaultsTest, FiftyCommandsOfFiveHundredItemsArriveWholeEachByItself) {
  constexpr int kCommands = 50;
  constexpr int kItems = 500;
  std::vector<std::unique_ptr<ShellMenu>> menus;
  std::vector<std::vector<std::string>> expected;
  for (int command = 0; command < kCommands; ++command) {
    const Paths paths = Items(std::to_wstring(command) + L" item ", kItems);
    menus.push_back(std::make_unique<ShellMenu>(ExtensionClasses(), paths));
    std::vector<std::string>& messages = expected.emplace_back();
    for (const std::wstring& path : paths) {
      const std::string bytes = ToUtf8(path);
      messages.push_back("d6:actioni3e" + std::string(&path == &paths.back() ? "4:lasti1e" : "") + "4:path" +
                         std::to_string(bytes.size()) + ":" + bytes + "e");
    }
  }

  const ThreadWatch senders;
  for (const auto& menu : menus) EXPECT_EQ(menu->Invoke(kSyncOffset), S_OK);
  ASSERT_TRUE(Agent().WaitForMessages(kCommands * kItems, std::chrono::seconds(120)));
  const auto all = Agent().Messages();
  RemoveAgent();  // which lies in this process, and had more threads for so many clients
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));

  std::map<uint32_t, std::vector<std::string>> received;  // by client
  for (const ReceivedMessage& message : all) received[message.client].push_back(message.bytes);
  EXPECT_EQ(received.size(), size_t{kCommands});
  std::vector<std::vector<std::string>> batches;
  for (auto& [client, messages] : received) batches.push_back(std::move(messages));
  // Clients come in any order; each brings one command's messages in theirs.
  std::ranges::sort(batches);
  std::ranges::sort(expected);
  EXPECT_TRUE(batches == expected);
}

}  // namespace
}  // namespace veskard::test
