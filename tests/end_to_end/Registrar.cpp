#include "tests/end_to_end/Registrar.h"

#include "tests/support/ExtensionLibrary.h"

namespace veskard::test {
namespace {

std::wstring SystemProgram(const std::wstring& name) {
  wchar_t folder[MAX_PATH] = {};
  ::GetSystemDirectoryW(folder, MAX_PATH);
  return std::wstring(folder) + L"\\" + name;
}

}  // namespace

ToolResult RegisterExtension() {
  return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/n", L"/i:S", ExtensionLibraryPath()});
}

ToolResult UnregisterExtension() {
  return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/u", L"/n", L"/i:S", ExtensionLibraryPath()});
}

}  // namespace veskard::test
