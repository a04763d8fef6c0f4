// Agents that are not what they should be: either menu's host gets its answer at once, and
// the same messages arrive or are lost.
#include <chrono>
#include <optional>
#include <thread>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/ExplorerCommandLibrary.h"
#include "tests/support/StandInArray.h"
#include "tools/shellprobe/ThreadWatch.h"
#include "tools/standin_agent/AgentEndpoint.h"
#include "tools/standin_agent/StandinAgent.h"

namespace veskard::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const std::vector<std::wstring> kItems = {L"C:\\a.txt", L"C:\\b.txt", L"C:\\c.txt"};
const std::vector<std::string> kMessages = {"d6:actioni3e4:path8:C:\\a.txte",
                                            "d6:actioni3e4:path8:C:\\b.txte",
                                            "d6:actioni3e4:lasti1e4:path8:C:\\c.txte"};
constexpr DWORD kAtOnce = 1000;  // far less than anything that waits, and enough for a busy machine

/// The child "Sync to this device" of a fly-out of its own.
class FlyOutCommand {
 public:
  HRESULT Choose() {
    StandInArray selection(kItems);
    const HRESULT result = children_[0].Get()->Invoke(&selection, nullptr);
    EXPECT_EQ(selection.References(), 0u);
    EXPECT_EQ(selection.ForeignQuestions(), 0);
    return result;
  }

 private:
  ExplorerCommandLibrary library_;
  std::vector<ExplorerCommandPointer> children_ = ChildrenOf(*library_.NewFlyOut().Get());
};

/// The same command of the menu behind IContextMenu, which was shown with an agent there.
class ClassicCommand {
 public:
  ClassicCommand() {
    const FakeAgentMutex service(test::AgentKind::kService);
    handler_.Select(&selection_);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler_.Query(menu.Get()), 6);
  }
  ~ClassicCommand() { handler_.Select(nullptr); }
  ClassicCommand(const ClassicCommand&) = delete;
  ClassicCommand& operator=(const ClassicCommand&) = delete;

  HRESULT Choose() { return handler_.Invoke(2); }

 private:
  ExtensionLibrary library_;
  MenuHandler handler_{library_};
  FakeDataObject selection_{kItems};
};

template <class Command>
void ChooseAtOnce(Command& command) {
  const ULONGLONG begin = ::GetTickCount64();
  EXPECT_EQ(command.Choose(), S_OK);
  EXPECT_LT(::GetTickCount64() - begin, kAtOnce);
}

std::vector<std::string> MessagesOf(uint32_t client, const StandinAgent& agent) {
  std::vector<std::string> messages;
  for (const ReceivedMessage& message : agent.Messages()) {
    if (message.client == client) messages.push_back(message.bytes);
  }
  return messages;
}

struct FaultyAgent {
  const char* name;
  AgentFaults faults;
  size_t arriving;  // of the three messages
};
void PrintTo(const FaultyAgent& agent, std::ostream* out) {
  *out << agent.name;
}

class AgentFaultsTest : public testing::Test {
 protected:
  AgentFaultsTest() { registry_.SetApplicationData(applicationData_.Path()); }

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
};

class FaultyAgentTest : public AgentFaultsTest, public testing::WithParamInterface<FaultyAgent> {
 protected:
  template <class Command>
  static std::vector<std::string> Delivered() {
    Command command;
    std::optional<StandinAgent> agent(std::in_place, StandinAgent::Options{.faults = GetParam().faults});
    const ThreadWatch senders;
    ChooseAtOnce(command);
    agent->WaitForMessages(GetParam().arriving, seconds(30));
    senders.WaitForNewThreads(milliseconds(200));  // whatever else might come
    std::vector<std::string> messages;
    for (const ReceivedMessage& message : agent->Messages()) messages.push_back(message.bytes);
    agent.reset();
    EXPECT_TRUE(senders.WaitForNewThreads(seconds(30)));
    return messages;
  }
};

TEST_P(FaultyAgentTest, GetsTheSameOfBothMenus) {
  const std::vector<std::string> expected(kMessages.begin(),
                                          kMessages.begin() + static_cast<ptrdiff_t>(GetParam().arriving));
  EXPECT_EQ(Delivered<FlyOutCommand>(), expected);
  EXPECT_EQ(Delivered<ClassicCommand>(), expected);
}

// clang-format off
const FaultyAgent kFaultyAgents[] = {
    {"ThatReads",                   {}, 3},
    {"ThatNothingAnnounces",        {.withoutMutex = true}, 0},
    {"WithoutAPipe",                {.withoutPipe = true}, 0},
    {"ThatNeverReads",              {.neverReads = true}, 0},
    {"ThatDiesAfterAMessage",       {.diesAfterMessages = 1}, 1},
    {"ThatDiesWithinAMessage",      {.diesAfterBytes = 40}, 1},
    {"ThatDiesAtTheFirstByte",      {.diesAfterBytes = 1}, 0},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Agent, FaultyAgentTest, testing::ValuesIn(kFaultyAgents),
                         [](const auto& agent) { return agent.param.name; });

TEST_F(AgentFaultsTest, AnAgentThatIsNotThereIsNotWaitedFor) {
  const ThreadWatch senders;
  FlyOutCommand flyOut;
  ChooseAtOnce(flyOut);
  EXPECT_TRUE(senders.WaitForNewThreads(milliseconds(0))) << "there is nothing to send to";
}

TEST_F(AgentFaultsTest, AnAgentThatReadsSlowlyGetsAll) {
  StandinAgent agent({.onMessage = [](uint32_t, const ReceivedMessage&) { ::Sleep(100); }});
  FlyOutCommand flyOut;
  for (int i = 0; i < 3; ++i) ChooseAtOnce(flyOut);
  ASSERT_TRUE(agent.WaitForMessages(9, seconds(30)));
  for (uint32_t client = 1; client <= 3; ++client) EXPECT_EQ(MessagesOf(client, agent), kMessages);
}

TEST_F(AgentFaultsTest, CommandsOfEightThreadsAtOnceArriveWhole) {
  StandinAgent agent;
  FlyOutCommand flyOut;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { ChooseAtOnce(flyOut); });
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(agent.WaitForMessages(8 * kMessages.size(), seconds(30)));
  for (uint32_t client = 1; client <= 8; ++client) EXPECT_EQ(MessagesOf(client, agent), kMessages);
}

/// A pipe by the service agent's name, made by hand, and the mutex that announces it.
class RawPipe {
 public:
  RawPipe(DWORD mode, DWORD instances)
      : pipe_(::CreateNamedPipeW(kServiceEndpoint.pipe, PIPE_ACCESS_INBOUND, mode, instances, 4096, 4096, 0,
                                 nullptr)) {
    EXPECT_TRUE(pipe_) << ::GetLastError();
  }

  bool IsEmpty() const {
    char byte = 0;
    DWORD size = 0;
    return !::PeekNamedPipe(pipe_.Get(), &byte, 1, &size, nullptr, nullptr) || size == 0;
  }

 private:
  FakeAgentMutex mutex_{test::AgentKind::kService};
  UniqueFile pipe_;
};

template <class Command>
void ExpectDropped(const RawPipe& pipe) {
  Command command;
  const ThreadWatch senders;
  ChooseAtOnce(command);
  EXPECT_TRUE(senders.WaitForNewThreads(seconds(30)));
  EXPECT_TRUE(pipe.IsEmpty());
}

TEST_F(AgentFaultsTest, APipeOfBytesGetsNothing) {
  ExpectDropped<FlyOutCommand>(RawPipe(PIPE_TYPE_BYTE, PIPE_UNLIMITED_INSTANCES));
  ExpectDropped<ClassicCommand>(RawPipe(PIPE_TYPE_BYTE, PIPE_UNLIMITED_INSTANCES));
}

TEST_F(AgentFaultsTest, ABusyAgentIsNotWaitedFor) {
  const RawPipe pipe(PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1);
  const UniqueFile somebodyElse(
      ::CreateFileW(kServiceEndpoint.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(somebodyElse);
  ExpectDropped<FlyOutCommand>(pipe);
  ExpectDropped<ClassicCommand>(pipe);
}

TEST_F(AgentFaultsTest, FiftySendersThatWaitHoldNobody) {
  SyncTree tree;
  tree.MarkRoot(L"root", kSelectiveRemovable);
  StandInArray selection({tree.MakeFile(L"root\\a.txt")});
  FlyOutCommand flyOut;
  const ThreadWatch before;
  {
    StandinAgent agent({.faults = {.neverReads = true}});
    const ThreadWatch senders;
    for (int i = 0; i < 50; ++i) ChooseAtOnce(flyOut);
    EXPECT_FALSE(senders.WaitForNewThreads(milliseconds(100))) << "nobody waits";
    const ExplorerCommandLibrary library;
    EXPECT_EQ(FirstMenuLetters(*library.NewFlyOut().Get(), &selection), "RA");
  }
  EXPECT_TRUE(before.WaitForNewThreads(seconds(30)));
}

}  // namespace
}  // namespace veskard::test
