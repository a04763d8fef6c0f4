#include "tools/shellprobe/CommandReasons.h"

namespace veskard {
namespace {

constexpr CommandOffset kCommands[] = {CommandOffset::kSyncToThisDevice, CommandOffset::kCancelReceiving,
                                       CommandOffset::kRemoveFromThisDevice,
                                       CommandOffset::kRemoveFromAllDevices};

CommandState StateOf(CommandOffset command, const MenuSelection& selection) {
  for (const MenuItem& item : DecideMenuItems(selection)) {
    if (item.command == command) return item.greyed ? CommandState::kGreyed : CommandState::kShown;
  }
  return CommandState::kHidden;
}

// Rules about the folder hide every command.
const char* FolderReason(const MenuSelection& s) {
  if (!s.inSyncFolder) return "the first item is not in a synchronised folder";
  if (!s.isSelective) return "the folder is synchronised whole, not selectively";
  if (!s.isOwner) return "the folder belongs to another user";
  return nullptr;
}

const char* ShownReason(CommandOffset command, const MenuSelection& s) {
  switch (command) {
    case CommandOffset::kSyncToThisDevice:
      return s.anyDirectory ? "a folder is selected" : "a selected placeholder is not being received";
    case CommandOffset::kCancelReceiving:
      return "a selected placeholder is being received";
    case CommandOffset::kRemoveFromThisDevice:
      return s.anyDirectory ? "a folder is selected" : "a selected file is on this device";
    default:
      return "the folder's type is 2";
  }
}

const char* HiddenReason(CommandOffset command) {
  switch (command) {
    case CommandOffset::kSyncToThisDevice:
      return "no folder is selected, and no placeholder that is not being received";
    case CommandOffset::kCancelReceiving:
      return "no selected placeholder is being received";
    case CommandOffset::kRemoveFromThisDevice:
      return "no folder is selected, and no file that is on this device";
    default:
      return "the folder forbids removing from all devices";
  }
}

// Only "Remove from all devices" is ever greyed.
const char* GreyedReason(const MenuSelection& s) {
  return s.removableEverywhere ? "a selected placeholder is being received" : "the folder's type is not 2";
}

const char* ReasonFor(CommandOffset command, CommandState state, const MenuSelection& selection) {
  if (const char* reason = FolderReason(selection)) return reason;
  if (state == CommandState::kHidden) return HiddenReason(command);
  return state == CommandState::kGreyed ? GreyedReason(selection) : ShownReason(command, selection);
}

}  // namespace

std::vector<CommandVerdict> ExplainCommands(const MenuSelection& selection) {
  std::vector<CommandVerdict> verdicts;
  for (const CommandOffset command : kCommands) {
    const CommandState state = StateOf(command, selection);
    verdicts.push_back({command, state, ReasonFor(command, state, selection)});
  }
  return verdicts;
}

const char* StateName(CommandState state) noexcept {
  static constexpr const char* kNames[] = {"shown", "greyed", "hidden"};
  return kNames[static_cast<size_t>(state)];
}

}  // namespace veskard
