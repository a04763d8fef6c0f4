// A host that exits with the library loaded and used, and watches that it leaves the
// heap alone from then on: a thread may have been ended inside it. Exit code 42, or 7
// when the library frees something.
#include <cstdlib>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/ImportPatch.h"

namespace {

bool isExiting = false;

void WatchedFree(void* block) {
  if (isExiting && block != nullptr) ::TerminateProcess(::GetCurrentProcess(), 7);
  std::free(block);
}

}  // namespace

int main() {
  using namespace veskard::test;
  const auto* const library = new ExtensionLibrary;  // never freed: the process simply ends
  new ImportPatch(library->Module(), "free", reinterpret_cast<void*>(&WatchedFree));
  {
    const RegistrySandbox registry;
    WriteRegistryDword(HKEY_LOCAL_MACHINE, L"Software\\Nimbrel\\Sync", L"ShellExtLog", 0);
    const MenuHandler handler(*library);
    char text[50] = {};
    handler.Menu()->GetCommandString(2, GCS_HELPTEXTA, nullptr, text, 50);
    library->DllInstall(TRUE, L"S");
  }
  isExiting = true;
  ::ExitProcess(42);
}
