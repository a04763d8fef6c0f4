// A host that ends while a sender still waits for its agent: loads the library
// beside the tests, chooses a command and leaves, with exit code 42, when the test sets
// the event that it has made.
//
//     exiting_host.exe        leaves with the library loaded
//     exiting_host.exe free   lets go of the library first
#include "core/WindowsOwners.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"

int main(int count, char**) {
  using namespace veskard::test;
  const veskard::UniqueHandle mayLeave(::OpenEventW(SYNCHRONIZE, FALSE, L"Local\\veskard-exiting-host"));
  const bool lettingGo = count > 1;
  auto* const library = new ExtensionLibrary;  // never freed: the process simply ends
  {
    const MenuHandler handler(*library);
    if (handler.Invoke(1) != S_OK) return 1;
  }
  if (::WaitForSingleObject(mayLeave.Get(), 30'000) != WAIT_OBJECT_0) return 2;
  if (lettingGo) delete library;
  return 42;
}
