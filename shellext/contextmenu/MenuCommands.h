// The commands that the context menu offers, and the icons that they show.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <string>

#include "lang/StringIds.h"
#include "shellext/contextmenu/AgentAction.h"

namespace veskard {

/// A command's distance from the first id that the shell grants. The shell calls
/// commands by it, so the numbers are part of the interface.
enum class CommandOffset : uint32_t {
  kShare = 1,
  kSyncToThisDevice = 2,
  kCancelReceiving = 3,
  kRemoveFromThisDevice = 4,
  kRemoveFromAllDevices = 5,
};

/// One command: its texts, its icon and its request to the agent.
struct MenuCommand {
  CommandOffset offset;
  uint32_t icon;  // index into kMenuIcons
  StringId stringId;
  AgentAction action;
  const wchar_t* addedLine;  // the log's line for its insertion; null: never inserted
  std::string utf8Text;      // empty until LoadMenuTexts
  std::wstring wideText;     // empty until LoadMenuTexts
};

inline constexpr size_t kMenuCommandCount = 5;
using MenuCommandTable = std::array<MenuCommand, kMenuCommandCount>;

/// What QueryContextMenu answers on success: one more than the highest offset,
/// however many items it added.
inline constexpr USHORT kMenuIdsUsed = kMenuCommandCount + 1;

/// The process's commands, in the order of their offsets. The texts are there
/// once LoadMenuTexts has returned, and do not change any more.
const MenuCommandTable& MenuCommands() noexcept;

/// The command of `table` with that offset; null for any other number. The whole
/// number is compared, without truncation.
const MenuCommand* FindMenuCommand(const MenuCommandTable& table, UINT_PTR offset) noexcept;
const MenuCommand& MenuCommandAt(CommandOffset offset) noexcept;

/// Builds the language table and fills the commands' texts from it; does nothing
/// once that has succeeded. Safe from several threads. Throws std::bad_alloc only,
/// and may then be called again.
void LoadMenuTexts();

/// One icon: the file that is requested first, deliberately in a way that loads nothing,
/// and the resource that is shown.
struct MenuIcon {
  const wchar_t* fileName;
  WORD resourceId;
};

/// The icons in the order of their indices. No command shows the last one:
/// "Cancel receiving" deliberately shares the icon of "Sync to this device".
// clang-format off
inline constexpr std::array<MenuIcon, 4> kMenuIcons = {{
    {L"menu_sync.ico",    110},
    {L"menu_remove.ico",  108},
    {L"menu_destroy.ico", 109},
    {L"menu_stop.ico",    107},
}};
// clang-format on

}  // namespace veskard
