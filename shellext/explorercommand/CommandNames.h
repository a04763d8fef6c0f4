// The commands of Explorer's own menu: their order and their canonical names.
#pragma once

#include <windows.h>

#include <array>

#include "shellext/contextmenu/MenuCommands.h"

namespace veskard {

/// The resource id of the fly-out's picture; those of the children are in kMenuIcons.
inline constexpr WORD kFlyOutPicture = 111;

/// The canonical names: the same in every version, so that settings, policies and the shell,
/// which may store them, keep their meaning.
inline constexpr GUID kFlyOutName = {
    0xFD5B269E, 0xA889, 0x4184, {0xA8, 0x75, 0xDB, 0x13, 0x8F, 0x5A, 0xCD, 0x3C}};

/// A child and its canonical name.
struct CommandName {
  CommandOffset command;
  GUID canonicalName;
};

/// The children in the order in which the fly-out shows them.
// clang-format off
inline constexpr std::array<CommandName, 4> kCommandNames = {{
    {CommandOffset::kSyncToThisDevice,
     {0x9C40E46F, 0xF0F9, 0x485E, {0x93, 0x66, 0x93, 0x85, 0x0D, 0xA4, 0xBB, 0xA5}}},
    {CommandOffset::kCancelReceiving,
     {0x891872BA, 0x8E6A, 0x4098, {0xBB, 0xC0, 0x16, 0xC3, 0x07, 0x6F, 0x1F, 0x92}}},
    {CommandOffset::kRemoveFromThisDevice,
     {0xAD9D9407, 0xF0DD, 0x4170, {0x8A, 0x2F, 0xF8, 0xD5, 0x05, 0xA6, 0xCD, 0x54}}},
    {CommandOffset::kRemoveFromAllDevices,
     {0x415403D2, 0xD543, 0x48A4, {0x93, 0x79, 0x75, 0x40, 0xA4, 0xC1, 0x72, 0x32}}},
}};
// clang-format on

}  // namespace veskard
