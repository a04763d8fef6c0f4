// shellprobe's commands, one source file each.
#pragma once

#include <string>
#include <vector>

#include "tools/common/CommandLine.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard {

extern const CommandSpec kMenuSpec;
int RunMenu(const Arguments& arguments);

extern const CommandSpec kInvokeSpec;
int RunInvoke(const Arguments& arguments);

extern const CommandSpec kIconSpec;
int RunIcon(const Arguments& arguments);

/// The option that every one of them takes: the classes of a library file
/// instead of the registered ones.
inline constexpr OptionSpec kLibraryOption = {
    "--dll", "FILE", "take the classes from this library instead of the registered one"};
ExtensionClasses ClassesFor(const Arguments& arguments);

/// Full paths of the selected items, from argument `first` on.
std::vector<std::wstring> SelectedPaths(const Arguments& arguments, size_t first = 0);

}  // namespace veskard
