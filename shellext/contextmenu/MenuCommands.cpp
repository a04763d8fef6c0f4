#include "shellext/contextmenu/MenuCommands.h"

#include "core/CriticalSection.h"
#include "lang/Language.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

// clang-format off
MenuCommandTable commands = {{
    // offset                               icon  text                               agent action
    {CommandOffset::kShare,                 0, StringId::kShareWith,            AgentAction::kShare,
     nullptr, {}, {}},
    {CommandOffset::kSyncToThisDevice,      0, StringId::kSyncToThisDevice,     AgentAction::kSyncToThisDevice,
     L"Added menu item - download", {}, {}},
    {CommandOffset::kCancelReceiving,       0, StringId::kCancelReceiving,      AgentAction::kCancelReceiving,
     L"Added menu item - cancel downloading", {}, {}},
    {CommandOffset::kRemoveFromThisDevice,  1, StringId::kRemoveFromThisDevice, AgentAction::kRemoveFromThisDevice,
     L"Added menu item - remove from this", {}, {}},
    {CommandOffset::kRemoveFromAllDevices,  2, StringId::kRemoveFromAllDevices, AgentAction::kRemoveFromAllDevices,
     L"Added menu item - remove from all", {}, {}},
}};
// clang-format on

// Handlers are made in several apartments: a second one waits until the first
// has filled the texts, and never sees them half filled.
CriticalSection textsLock;
bool textsLoaded = false;

}  // namespace

const MenuCommandTable& MenuCommands() noexcept {
  return commands;
}

const MenuCommand* FindMenuCommand(const MenuCommandTable& table, UINT_PTR offset) noexcept {
  for (const MenuCommand& command : table) {
    if (static_cast<UINT_PTR>(command.offset) == offset) return &command;
  }
  return nullptr;
}

const MenuCommand& MenuCommandAt(CommandOffset offset) noexcept {
  return commands[static_cast<size_t>(offset) - 1];
}

void LoadMenuTexts() {
  const CriticalSectionHold hold(textsLock);
  if (textsLoaded) return;
  LoadLanguage(-1);
  for (MenuCommand& command : commands) {
    command.wideText = GetString(command.stringId);
    command.utf8Text = Utf8FromWide(command.wideText);
  }
  textsLoaded = true;
}

}  // namespace veskard
