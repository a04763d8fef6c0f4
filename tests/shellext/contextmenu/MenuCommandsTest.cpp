#include "shellext/contextmenu/MenuCommands.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "lang/Language.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

struct Row {
  uint32_t offset;
  uint32_t icon;
  uint32_t stringNumber;
  int32_t action;
  const wchar_t* addedLine;
};

// clang-format off
constexpr Row kExpected[] = {
    {1, 0, 262, 7, nullptr},
    {2, 0, 263, 3, L"Added menu item - download"},
    {3, 0, 259, 4, L"Added menu item - cancel downloading"},
    {4, 1, 261, 5, L"Added menu item - remove from this"},
    {5, 2, 260, 6, L"Added menu item - remove from all"},
};
// clang-format on

TEST(MenuCommandsTest, TheTableIsAsDocumented) {
  ASSERT_EQ(MenuCommands().size(), std::size(kExpected));
  for (size_t i = 0; i < std::size(kExpected); ++i) {
    SCOPED_TRACE(i);
    const MenuCommand& command = MenuCommands()[i];
    EXPECT_EQ(static_cast<uint32_t>(command.offset), kExpected[i].offset);
    EXPECT_EQ(command.icon, kExpected[i].icon);
    EXPECT_EQ(static_cast<uint32_t>(command.stringId), kExpected[i].stringNumber);
    EXPECT_EQ(static_cast<int32_t>(command.action), kExpected[i].action);
    EXPECT_STREQ(command.addedLine, kExpected[i].addedLine);
  }
  EXPECT_EQ(kMenuIdsUsed, 6);
}

TEST(MenuCommandsTest, TheIconsAreAsDocumented) {
  ASSERT_EQ(kMenuIcons.size(), 4u);
  EXPECT_STREQ(kMenuIcons[0].fileName, L"menu_sync.ico");
  EXPECT_EQ(kMenuIcons[0].resourceId, 110);
  EXPECT_STREQ(kMenuIcons[1].fileName, L"menu_remove.ico");
  EXPECT_EQ(kMenuIcons[1].resourceId, 108);
  EXPECT_STREQ(kMenuIcons[2].fileName, L"menu_destroy.ico");
  EXPECT_EQ(kMenuIcons[2].resourceId, 109);
  EXPECT_STREQ(kMenuIcons[3].fileName, L"menu_stop.ico");
  EXPECT_EQ(kMenuIcons[3].resourceId, 107);
}

TEST(MenuCommandsTest, CommandsAreFoundByTheirWholeOffset) {
  for (const MenuCommand& command : MenuCommands()) {
    EXPECT_EQ(FindMenuCommand(MenuCommands(), static_cast<UINT_PTR>(command.offset)), &command);
    EXPECT_EQ(&MenuCommandAt(command.offset), &command);
  }
  EXPECT_EQ(FindMenuCommand(MenuCommands(), 0), nullptr);
  EXPECT_EQ(FindMenuCommand(MenuCommands(), 6), nullptr);
  constexpr UINT_PTR kUpperHalf = UINT_PTR{1} << (4 * sizeof(UINT_PTR));
  EXPECT_EQ(FindMenuCommand(MenuCommands(), kUpperHalf + 2), nullptr);
}

TEST(MenuCommandsTest, TheTextsAreThoseOfTheLanguageTableInBothForms) {
  LoadMenuTexts();
  for (const MenuCommand& command : MenuCommands()) {
    EXPECT_FALSE(command.wideText.empty());
    EXPECT_EQ(command.wideText, GetString(command.stringId));
    EXPECT_EQ(WideFromUtf8(command.utf8Text), command.wideText);
  }
}

TEST(MenuCommandsTest, ThreadsThatLoadAtOnceAllFindTheTextsWhole) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      LoadMenuTexts();
      for (const MenuCommand& command : MenuCommands()) EXPECT_FALSE(command.wideText.empty());
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace veskard
