// load_once.exe LIBRARY [SYSTEM LIBRARY...]: loads the system's libraries, then the
// library, once each in a process that had none of them, and writes what that took to
// standard output as three numbers of microseconds:
//
//     the system's libraries    the library    unloading it
//
// Exit code 1 when something cannot be loaded.
#include <windows.h>

#include <cstdio>

#include "bench/windows/Measure.h"

int wmain(int count, wchar_t** words) {
  using veskard::bench::MicrosecondsNow;
  const double begin = MicrosecondsNow();
  for (int i = 2; i < count; ++i) {
    if (::LoadLibraryW(words[i]) == nullptr) return 1;
  }
  const double prepared = MicrosecondsNow();
  const HMODULE library = count < 2 ? nullptr : ::LoadLibraryW(words[1]);
  const double loaded = MicrosecondsNow();
  if (library == nullptr || !::FreeLibrary(library)) return 1;
  const double unloaded = MicrosecondsNow();
  std::printf("%.1f %.1f %.1f\n", prepared - begin, loaded - prepared, unloaded - loaded);
  return 0;
}
