// Repair: registers the extension again for the programs that lack it.
#pragma once

#include <string>

#include "tools/shellprobe/Machine.h"

namespace veskard {

/// Registers a library for the programs that can load it, as regsvr32 /n /i:S does: in this
/// process, or for programs of the other bitness through the system's regsvr32 of their
/// kind. Throws ToolError when it cannot be loaded or refuses.
void RegisterLibrary(const std::wstring& file);

/// Does that for each view that needs a library and has a fault, and for no other: with the
/// library that the view names, or with the usual one when that cannot be used. Goes on after
/// a failure, and throws the first one as a ToolError at the end. COM must be initialised.
void RepairRegistration(const Machine& machine);

}  // namespace veskard
