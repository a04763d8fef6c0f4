#include "bench/menu/ComparedLibraries.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "bench/library/Libraries.h"

namespace veskard::bench {
namespace {

// Returns the copy's path.
std::wstring CopyInto(const std::wstring& folder, const std::wstring& library) {
  ::CreateDirectoryW(folder.c_str(), nullptr);
  std::wstring copy = folder + L"\\VeskardShellExt.dll";
  if (!::CopyFileW(library.c_str(), copy.c_str(), FALSE)) {
    std::printf("cannot copy %ls: error %lu (scripts/old-library.sh builds the old library)\n",
                library.c_str(), ::GetLastError());
    std::exit(1);
  }
  return copy;
}

}  // namespace

ComparedLibraries::ComparedLibraries()
    : new_(CopyInto(folder_ / L"new", BuiltLibrary())),
      old_(CopyInto(folder_ / L"old", BesideThisProgram(L"..\\..\\old-library\\VeskardShellExt.dll"))) {}

}  // namespace veskard::bench
