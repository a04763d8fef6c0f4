#include "tests/end_to_end/Registrar.h"

#include "tests/support/ExtensionLibrary.h"

namespace veskard::test {

ToolResult RegisterExtension() {
  return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/n", L"/i:S", ExtensionLibraryPath()});
}

ToolResult UnregisterExtension() {
  return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/u", L"/n", L"/i:S", ExtensionLibraryPath()});
}

}  // namespace veskard::test
