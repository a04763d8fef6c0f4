#include "tools/standin_agent/AgentMessage.h"

#include <gmock/gmock.h>

namespace veskard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AgentMessageTest, DecodesAnItemsMessage) {
  const AgentMessage message = DecodeMessage("d6:actioni5e4:lasti1e4:path4:C:\\xe");
  EXPECT_TRUE(message.isDictionary);
  EXPECT_EQ(message.action, 5);
  EXPECT_TRUE(message.last);
  EXPECT_THAT(message.paths, ElementsAre("C:\\x"));
  EXPECT_EQ(message.dump, R"({ "action": 5, "last": 1, "path": "C:\\x" })");
}

TEST(AgentMessageTest, DecodesAWholeSelectionsMessage) {
  const AgentMessage message = DecodeMessage("d6:actioni7e5:filesl1:a1:be4:lasti1ee");
  EXPECT_EQ(message.action, 7);
  EXPECT_THAT(message.paths, ElementsAre("a", "b"));
}

TEST(AgentMessageTest, OnlyLastOneEndsACommand) {
  EXPECT_FALSE(DecodeMessage("d6:actioni3ee").last);
  EXPECT_FALSE(DecodeMessage("d6:actioni3e4:lasti0ee").last);
}

TEST(AgentMessageTest, AnythingElseIsNoDictionary) {
  for (const char* bytes : {"", "i5e", "l1:ae", "d6:action", "hello"}) {
    const AgentMessage message = DecodeMessage(bytes);
    EXPECT_FALSE(message.isDictionary) << bytes;
    EXPECT_THAT(message.paths, IsEmpty()) << bytes;
  }
}

TEST(AgentMessageTest, NamesTheActions) {
  EXPECT_STREQ(ActionTitle(3), "Sync to this device");
  EXPECT_STREQ(ActionTitle(6), "Remove from all devices");
  EXPECT_STREQ(ActionTitle(8), "unknown action");
}

TEST(AgentMessageTest, EscapedBytesCanBeReadBack) {
  EXPECT_EQ(EscapeBytes(std::string_view("a\\\0\xC3\x7F~ ", 7)), "a\\\\\\x00\\xC3\\x7F~ ");
}

}  // namespace
}  // namespace veskard
