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

extern const CommandSpec kExplainSpec;
int RunExplain(const Arguments& arguments);

extern const CommandSpec kDoctorSpec;
int RunDoctor(const Arguments& arguments);

extern const CommandSpec kTailSpec;
int RunTail(const Arguments& arguments);

/// The option that the first three take: the classes of a library file
/// instead of the registered ones.
inline constexpr OptionSpec kLibraryOption = {
    "--dll", "FILE", "take the classes from this library instead of the registered one"};
ExtensionClasses ClassesFor(const Arguments& arguments);

/// Full paths of the selected items, from argument `first` on.
std::vector<std::wstring> SelectedPaths(const Arguments& arguments, size_t first = 0);

}  // namespace veskard
