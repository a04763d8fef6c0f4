// load_bench.exe: what loading and unloading the library costs beside a library that
// does nothing, in a process that has the system's libraries and in one that does not.
#include <windows.h>

#include <string>
#include <vector>

#include "bench/library/FirstLoad.h"
#include "bench/library/Libraries.h"
#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"
#include "tools/common/ImportSlot.h"

namespace veskard::bench {
namespace {

constexpr int kFirstLoads = 31;
// Aims: a process that shows context menus has the system's libraries; any other should
// not have to load most of them either.
constexpr double kMillisecondsMoreAtMost = 0.5;
constexpr double kMillisecondsMoreWithoutSystem = 10;

// Those that are compared.
struct Libraries {
  std::wstring ours = BuiltLibrary();
  std::wstring empty = EmptyLibrary();
};

void PrintMore(const Times& ours, const Times& empty, double aim = kMillisecondsMoreAtMost) {
  const double more = (ours.median - empty.median) / 1000;
  PrintDifference("more than the empty library", more, aim);
}

void LoadAndUnload(const std::wstring& path, DWORD flags = 0) {
  const UniqueModule module(::LoadLibraryExW(path.c_str(), nullptr, flags));
}

// What the loader does for the imports, as far as one can do it from outside.
void LookImportsUp(HMODULE library) {
  ForEachImport(library, [](const char* name, void** slot) {
    HMODULE home = nullptr;
    ::GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        static_cast<const wchar_t*>(*slot), &home);
    ::GetProcAddress(home, name);
  });
}

void BenchAgain(const Libraries& libraries) {
  std::vector<UniqueModule> system;
  for (const std::wstring& name : kSystemLibraries) system.emplace_back(::LoadLibraryW(name.c_str()));
  const std::vector<Times> times =
      TakeTurns({.count = 201},
                {[&](int) { LoadAndUnload(libraries.ours); }, [&](int) { LoadAndUnload(libraries.empty); },
                 [&](int) { LoadAndUnload(libraries.ours, DONT_RESOLVE_DLL_REFERENCES); }});
  PrintRow("again and again", 0, times[0], times[1]);
  PrintMore(times[0], times[1]);
  PrintPart("of that: without its imports and its entry point", times[2]);
  const UniqueModule library(::LoadLibraryW(libraries.ours.c_str()));
  const std::vector<Times> lookUps = TakeTurns({.count = 201}, {[&](int) { LookImportsUp(library.Get()); }});
  PrintPart("of that: about as much as finding its imports", lookUps[0]);
}

struct FirstLoads {
  std::vector<double> system;
  std::vector<double> both;  // loading and unloading

  void Add(const FirstLoad& load) {
    system.push_back(load.system);
    both.push_back(load.library + load.unloading);
  }
};

void BenchFirst(const char* what, const Libraries& libraries, const std::vector<std::wstring>& system) {
  FirstLoads ours, empty;
  for (int i = 0; i < kFirstLoads; ++i) {
    ours.Add(LoadInNewProcess(libraries.ours, system));
    empty.Add(LoadInNewProcess(libraries.empty, system));
  }
  const Times ourTimes = TimesOf(ours.both), emptyTimes = TimesOf(empty.both);
  PrintRow(what, 0, ourTimes, emptyTimes);
  PrintMore(ourTimes, emptyTimes, system.empty() ? kMillisecondsMoreWithoutSystem : kMillisecondsMoreAtMost);
  if (system.empty()) return;
  PrintPart("beside that: the system's libraries, loaded before", TimesOf(ours.system));
}

void BenchLoading() {
  const Libraries libraries;
  PrintHeading("Loading and unloading the library", "ours", "empty library");
  BenchAgain(libraries);
  BenchFirst("first in a process that has the system's libraries", libraries, kSystemLibraries);
  BenchFirst("first in a process that has none of them", libraries, {});
}

}  // namespace
}  // namespace veskard::bench

int main() {
  veskard::bench::BenchLoading();
}
