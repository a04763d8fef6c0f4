// shellprobe's own exit codes, beside those of every tool (ToolError.h).
#pragma once

namespace veskard {

inline constexpr int kNotRegistered = 10;  // no handler is registered, or its class cannot be activated
inline constexpr int kMenuRefused = 11;    // the handler adds no menu to this selection
inline constexpr int kNoSuchCommand = 12;  // the menu does not have the command, or has it greyed
inline constexpr int kNoIcon = 13;         // the handler has no icon for this file
inline constexpr int kNoCommands = 14;     // explain: no menu has commands

// doctor's: the kind of the first fault.
inline constexpr int kRegistrationBad = 20;
inline constexpr int kLibraryBad = 21;
inline constexpr int kFileTypeBad = 22;
inline constexpr int kLogBad = 23;
inline constexpr int kLanguageBad = 24;
inline constexpr int kFirstMenuBad = 25;

}  // namespace veskard
