// Registration of the built library as an administrator does it.
#pragma once

#include "tests/support/ToolRun.h"

namespace veskard::test {

/// regsvr32 /s /n /i:S LIBRARY, and with /u for the way back; the library is the
/// one that was built beside the tests.
ToolResult RegisterExtension();
ToolResult UnregisterExtension();

}  // namespace veskard::test
