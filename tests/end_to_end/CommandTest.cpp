// What the agent gets when a command is chosen: every byte of it.
#include "tests/end_to_end/RightClickTest.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/SelectionData.h"
#include "tools/shellprobe/ThreadWatch.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CommandTest : public RightClickTest {
 protected:
  static std::string Sized(const std::wstring& path) {
    const std::string bytes = ToUtf8(path);
    return std::to_string(bytes.size()) + ":" + bytes;
  }
  static std::string ItemMessage(int action, const std::wstring& path, bool last) {
    return "d6:actioni" + std::to_string(action) + "e" + (last ? "4:lasti1e" : "") + "4:path" + Sized(path) +
           "e";
  }
};

TEST_F(CommandTest, EveryCommandHasItsAction) {
  const std::wstring path = Folder(L"Maps");
  Choose(kSyncOffset, {path});
  Received(1);
  Choose(kCancelOffset, {path});
  Received(2);
  Choose(kRemoveHereOffset, {path});
  Received(3);
  Choose(kRemoveEverywhereOffset, {path});
  EXPECT_THAT(Received(4), ElementsAre(ItemMessage(3, path, true), ItemMessage(4, path, true),
                                       ItemMessage(5, path, true), ItemMessage(6, path, true)));
}

TEST_F(CommandTest, OneMessageAnItemAndOnlyTheLastSaysLast) {
  Root();
  const std::wstring a = File(L"Root\\a.txt");
  const std::wstring b = Folder(L"Root\\b");
  const std::wstring c = Placeholder(L"Root\\c.ghpl");
  Choose(kRemoveHereOffset, {a, b, c});
  EXPECT_THAT(Received(3),
              ElementsAre(ItemMessage(5, a, false), ItemMessage(5, b, false), ItemMessage(5, c, true)));
}

TEST_F(CommandTest, ACommandComesThroughOneConnection) {
  Choose(kSyncOffset, {File(L"a"), File(L"b")});
  Choose(kSyncOffset, {File(L"c")});
  Received(3);
  const std::vector<ReceivedMessage> messages = Agent().Messages();
  EXPECT_EQ(messages[0].client, messages[1].client);
  EXPECT_NE(messages[0].client, messages[2].client);
}

TEST_F(CommandTest, ShareSendsTheWholeSelectionAtOnce) {
  const std::wstring a = File(L"a");
  const std::wstring b = File(L"b");
  Choose(kShareOffset, {a, b});
  EXPECT_THAT(Received(1), ElementsAre("d6:actioni7e5:filesl" + Sized(a) + Sized(b) + "e4:lasti1ee"));
}

TEST_F(CommandTest, PathsAreSentAsUtf8) {
  const std::wstring path = File(L"R\u00e9sum\u00e9 \u4f60\u597d \U0001F600.txt");
  Choose(kSyncOffset, {path});
  const std::string message = Received(1).front();
  EXPECT_EQ(message, ItemMessage(3, path, true));
  EXPECT_NE(message.find("R\xC3\xA9sum\xC3\xA9 \xE4\xBD\xA0\xE5\xA5\xBD \xF0\x9F\x98\x80.txt"),
            std::string::npos);
}

TEST_F(CommandTest, AThousandItemsArriveInOrder) {
  Paths paths;
  std::vector<std::string> expected;
  for (int i = 0; i < 1000; ++i) {
    // Items need not exist by the time they are sent.
    paths.push_back(folder_ / (L"item " + std::to_wstring(i)));
    expected.push_back(ItemMessage(5, paths.back(), i == 999));
  }
  Choose(kRemoveHereOffset, paths);
  EXPECT_EQ(Received(1000), expected);
}

TEST_F(CommandTest, LongNamesAreSentWhole) {
  const std::wstring path = L"C:\\" + std::wstring(32'000, L'x');
  Choose(kSyncOffset, {path});
  EXPECT_EQ(Received(1).front(), ItemMessage(3, path, true));
}

TEST_F(CommandTest, UnknownCommandsAreRefused) {
  const ShellMenu menu = RightClick({File(L"a")});
  EXPECT_EQ(menu.Invoke(0), E_INVALIDARG);
  EXPECT_EQ(menu.Invoke(6), E_INVALIDARG);
  CMINVOKECOMMANDINFO info = {};
  info.cbSize = sizeof info;
  info.lpVerb = "open";
  EXPECT_EQ(menu.Handler()->InvokeCommand(&info), E_INVALIDARG);
  EXPECT_FALSE(Agent().WaitForMessages(1, std::chrono::milliseconds(200)));
}

TEST_F(CommandTest, BeforeTheMenuACommandHasNoItems) {
  const UniqueCom<IUnknown> object = ExtensionClasses().NewMenuHandler(L"C:\\a");
  UniqueCom<IShellExtInit> initializer;
  UniqueCom<IContextMenu> handler;
  ASSERT_EQ(object.Get()->QueryInterface(IID_IShellExtInit, OutVoid(initializer)), S_OK);
  ASSERT_EQ(object.Get()->QueryInterface(IID_IContextMenu, OutVoid(handler)), S_OK);
  initializer.Get()->Initialize(nullptr, MakeSelectionData({L"C:\\a"}).Get(), nullptr);
  const ThreadWatch senders;
  CMINVOKECOMMANDINFO info = {};
  info.cbSize = sizeof info;
  info.lpVerb = MAKEINTRESOURCEA(kSyncOffset);
  EXPECT_EQ(handler.Get()->InvokeCommand(&info), S_OK);
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));
  EXPECT_THAT(Agent().Messages(), IsEmpty());
}

TEST_F(CommandTest, WithoutAnAgentACommandIsDropped) {
  const ShellMenu menu = RightClick({File(L"a")});
  RemoveAgent();
  const ThreadWatch senders;
  EXPECT_EQ(menu.Invoke(kSyncOffset), S_OK);
  EXPECT_TRUE(senders.WaitForNewThreads(std::chrono::seconds(1)));
}

TEST_F(CommandTest, AnAgentWithoutItsPipeGetsNothing) {
  ReplaceAgent({.withoutPipe = true});
  Choose(kSyncOffset, {File(L"a")});
}

TEST_F(CommandTest, AnAgentThatNeverReadsDoesNotHoldTheMenu) {
  ReplaceAgent({.neverReads = true});
  Paths paths;
  for (int i = 0; i < 1000; ++i) paths.push_back(folder_ / std::to_wstring(i));
  const ShellMenu menu = RightClick(paths);
  const ThreadWatch senders;
  EXPECT_EQ(menu.Invoke(kSyncOffset), S_OK);
  // The sender still waits for the agent while the command has long returned.
  EXPECT_FALSE(senders.WaitForNewThreads(std::chrono::milliseconds(300)));
  RemoveAgent();
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));
}

TEST_F(CommandTest, AnAgentThatDiesTakesOnlyItsOwnCommandAlong) {
  ReplaceAgent({.diesAfterBytes = 100});
  Paths paths;
  for (int i = 0; i < 100; ++i) paths.push_back(folder_ / std::to_wstring(i));
  Choose(kSyncOffset, paths);
  EXPECT_TRUE(Agent().IsDead());
  ReplaceAgent({});
  Choose(kSyncOffset, {paths[0]});
  EXPECT_THAT(Received(1), ElementsAre(ItemMessage(3, paths[0], true)));
}

TEST_F(CommandTest, ManyCommandsAtOnceAllArrive) {
  constexpr size_t kCommands = 30;
  const ShellMenu menu = RightClick({File(L"a"), File(L"b")});
  const ThreadWatch senders;
  for (size_t i = 0; i < kCommands; ++i) EXPECT_EQ(menu.Invoke(kSyncOffset), S_OK);
  EXPECT_TRUE(Agent().WaitForBatches(kCommands, kPatience));
  EXPECT_EQ(Agent().Messages().size(), 2 * kCommands);
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));
}

}  // namespace
}  // namespace veskard::test
