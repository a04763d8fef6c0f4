// Repair: registering the extension anew for the programs that miss it.
#pragma once

#include <string>

#include "tools/shellprobe/Machine.h"

namespace veskard {

/// Registers a library for the programs that can load it, as regsvr32 /n /i:S does: in this
/// process, or for programs of the other bitness through the system's regsvr32 of their
/// kind. Throws ToolError when it cannot be loaded or refuses.
void RegisterLibrary(const std::wstring& file);

/// Does that for each view that is expected and not as it should be, and for no other: with
/// the library that it names, or with the usual one when that does not fit. Goes on after a
/// failure and then throws ToolError with the first one. COM must be there.
void RepairRegistration(const Machine& machine);

}  // namespace veskard
