// A host that ends while a sender still waits for its agent: loads the library
// beside the tests, chooses a command and leaves, with exit code 42.
//
//     exiting_host.exe        leaves with the library loaded
//     exiting_host.exe free   lets go of the library first
#include "tests/shellext/contextmenu/LibraryMenu.h"

int main(int count, char**) {
  using namespace veskard::test;
  const bool lettingGo = count > 1;
  auto* const library = new ExtensionLibrary;  // never freed: the process simply ends
  {
    const MenuHandler handler(*library);
    if (handler.Invoke(1) != S_OK) return 1;
  }
  ::Sleep(300);  // the sender is inside its write by now
  if (lettingGo) delete library;
  return 42;
}
