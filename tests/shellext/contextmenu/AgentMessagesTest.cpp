#include "shellext/contextmenu/AgentMessages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "benc/BencWriter.h"
#include "shellext/contextmenu/DropNames.h"
#include "tests/shellext/contextmenu/StandInNetwork.h"
#include "tests/support/DropData.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

std::vector<std::string> Messages(const std::vector<std::wstring>& items, AgentAction action,
                                  const NetworkCalls& network = {}) {
  const test::DropListForTest drop(items);
  const DropNames names(drop.Get(), kLongestNameInCommand);
  std::vector<std::string> messages;
  for (const auto& message :
       BuildCommandBatch(names, static_cast<uint32_t>(items.size()), action, UniversalNames(network))) {
    ByteBuilder bytes;
    WriteBencoded(bytes, *message);
    messages.emplace_back(bytes.View());
  }
  return messages;
}

TEST(AgentMessagesTest, EachItemGetsAMessageAndOnlyTheLastOneSaysSo) {
  EXPECT_EQ(Messages({L"C:\\a", L"C:\\b", L"C:\\c"}, AgentAction::kRemoveFromThisDevice),
            (std::vector<std::string>{"d6:actioni5e4:path4:C:\\ae", "d6:actioni5e4:path4:C:\\be",
                                      "d6:actioni5e4:lasti1e4:path4:C:\\ce"}));
}

TEST(AgentMessagesTest, ASingleItemIsTheLastOne) {
  EXPECT_EQ(Messages({L"C:\\x"}, AgentAction::kSyncToThisDevice),
            std::vector<std::string>{"d6:actioni3e4:lasti1e4:path4:C:\\xe"});
  EXPECT_EQ(Messages({L"C:\\x"}, AgentAction::kCancelReceiving),
            std::vector<std::string>{"d6:actioni4e4:lasti1e4:path4:C:\\xe"});
  EXPECT_EQ(Messages({L"C:\\x"}, AgentAction::kRemoveFromAllDevices),
            std::vector<std::string>{"d6:actioni6e4:lasti1e4:path4:C:\\xe"});
}

TEST(AgentMessagesTest, NoItemGivesNoMessage) {
  EXPECT_TRUE(Messages({}, AgentAction::kSyncToThisDevice).empty());
}

TEST(AgentMessagesTest, SharingSendsOneMessageWithEveryPath) {
  EXPECT_EQ(Messages({L"C:\\a", L"C:\\bc"}, AgentAction::kShare),
            std::vector<std::string>{"d6:actioni7e5:filesl4:C:\\a5:C:\\bce4:lasti1ee"});
}

TEST(AgentMessagesTest, SharingNothingSendsAnEmptyList) {
  EXPECT_EQ(Messages({}, AgentAction::kShare), std::vector<std::string>{"d6:actioni7e5:filesle4:lasti1ee"});
}

TEST(AgentMessagesTest, PathsAreUtf8) {
  EXPECT_EQ(Messages({L"C:\\\u00E4\u20AC\U0001F600"}, AgentAction::kSyncToThisDevice),
            std::vector<std::string>{"d6:actioni3e4:lasti1e4:path12:C:\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"
                                     "e"});
}

TEST(AgentMessagesTest, ThePathsOfAThousandItemsKeepTheirOrder) {
  std::vector<std::wstring> items;
  for (int i = 0; i < 1000; ++i) items.push_back(L"C:\\" + std::to_wstring(1000 + i));
  const std::vector<std::string> messages = Messages(items, AgentAction::kSyncToThisDevice);
  ASSERT_EQ(messages.size(), 1000u);
  EXPECT_EQ(messages[0], "d6:actioni3e4:path7:C:\\1000e");
  EXPECT_EQ(messages[998], "d6:actioni3e4:path7:C:\\1998e");
  EXPECT_EQ(messages[999], "d6:actioni3e4:lasti1e4:path7:C:\\1999e");
}

// The buffer takes 32770 characters, more than the longest path has.
TEST(AgentMessagesTest, PathsOf32767CharactersAreSentWhole) {
  const std::wstring path = L"C:\\" + std::wstring(32764, L'x');
  const std::string expected = "d6:actioni3e4:lasti1e4:path32767:C:\\" + std::string(32764, 'x') + "e";
  EXPECT_EQ(Messages({path}, AgentAction::kSyncToThisDevice), std::vector<std::string>{expected});
}

TEST(AgentMessagesTest, ANameOf32771CharactersIsCutByOne) {
  const std::wstring path = L"C:\\" + std::wstring(32768, L'x');
  const std::string expected = "d6:actioni3e4:lasti1e4:path32770:C:\\" + std::string(32767, 'x') + "e";
  EXPECT_EQ(Messages({path}, AgentAction::kSyncToThisDevice), std::vector<std::string>{expected});
}

// Each path's name is asked for by itself, and a computer without any other drive sends it.
TEST(AgentMessagesTest, TheMessagesAreThoseOfAskingForEachItem) {
  const std::vector<std::wstring> items = {
      L"C:\\a", L"X:\\a", L"x:\\b\\\u00E4", L"X:\\", L"\\\\server\\share\\c", L"Y:\\d.", L"C:e", L"X:"};
  std::vector<std::wstring> names;
  for (const std::wstring& item : items) names.push_back(test::UniversalNameByItself(item));
  for (const AgentAction action : {AgentAction::kSyncToThisDevice, AgentAction::kShare})
    EXPECT_EQ(Messages(items, action, test::StandInNetwork()), Messages(names, action));
}

TEST(AgentMessagesTest, AnItemThatTheListDoesNotHaveIsSentEmpty) {
  const DropNames none(nullptr, kLongestNameInCommand);
  const CommandBatch batch = BuildCommandBatch(none, 2, AgentAction::kSyncToThisDevice);
  ASSERT_EQ(batch.size(), 2u);
  for (const auto& message : batch) EXPECT_EQ(message->Find("path")->AsBytes(), "");
}

}  // namespace
}  // namespace veskard
