// load_instructions.exe, under callgrind: what loading the library takes in a process
// that has none of the system's libraries, these being loaded before it one by one.
#include <windows.h>

#include <string>

#include "bench/instructions/Counted.h"
#include "bench/library/Libraries.h"

int main() {
  using namespace veskard::bench;
  for (const std::wstring& name : kSystemLibraries)
    Counted("loading " + std::string(name.begin(), name.end()), [&] { ::LoadLibraryW(name.c_str()); });
  HMODULE library = nullptr;
  Counted("loading the library after them", [&] { library = ::LoadLibraryW(BuiltLibrary().c_str()); });
  Counted("unloading it", [&] { ::FreeLibrary(library); });
  Counted("loading an empty library", [&] { library = ::LoadLibraryW(EmptyLibrary().c_str()); });
  Counted("unloading that", [&] { ::FreeLibrary(library); });
}
