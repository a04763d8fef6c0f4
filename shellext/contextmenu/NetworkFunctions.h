// The functions of the network library, which the first call loads: most processes never
// need it.
#pragma once

#include <windows.h>
// The network's calls need the basic types.
#include <winnetwk.h>

#include "core/LateLibrary.h"

namespace veskard::network {

/// Called like the function itself; ERROR_MOD_NOT_FOUND where the library cannot be loaded.
extern LateFunction<decltype(&::WNetGetUniversalNameW), DWORD{ERROR_MOD_NOT_FOUND}> WNetGetUniversalNameW;

}  // namespace veskard::network
