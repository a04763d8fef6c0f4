// log_host.exe: a host of the library, started by tests to live and to end in
// different ways.
//
//   log_host SANDBOX SCENARIO [ARGUMENT...]
//
// It enters the test's registry, loads log_probe.dll from its own folder and lets
// the first class object create the log. Scenarios:
//
//   write NAME COUNT    writes the lines "NAME 0" to "NAME COUNT-1", one half when
//                       the event "first" is set, the other after "second"; sets
//                       "NAME-ready" before and "NAME-half" between them
//   write-whole NAME COUNT   the same, each append as one step (see below)
//   exit                writes a line and returns from main
//   unload              writes a line and unloads the library first
//   exit-writing        exits while four threads write lines
//   exit-inside         exits while a thread stays inside the log for ever
//   killed-writing      sets "ready" while four threads write lines, to be ended then
//   exit-inside-heap, exit-heap   exit with and without such a thread, and end with
//                       kLogHostHeapTouched when the library takes or frees memory
//                       on the way
//   exit-heap-shipped   exit-heap with the library that ships, not the probe
//   wait                writes a line, sets "ready" and waits to be ended
//
// Events are named "SANDBOX-EVENT". The exit code is kLogHostExitCode.
#include <unknwn.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "tests/shellext/module/LogHost.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/Patched.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);
using WriteProbeLine = void(const wchar_t*);
using StayInsideLog = void(HANDLE);

/// The loaded probe, with a log. The library that ships takes its place where no
/// line is to be written.
class Probe {
 public:
  explicit Probe(bool shipped) : module_(::LoadLibraryW(Path(shipped).c_str())) {
    IClassFactory* factory = nullptr;
    Find<GetClassObject>("DllGetClassObject")(ClassId(kContextMenuClass), IID_IClassFactory,
                                              reinterpret_cast<void**>(&factory));
    factory->Release();
    write_ = Find<WriteProbeLine>("WriteProbeLine");
  }

  HMODULE Module() const noexcept { return module_; }
  void Write(const std::wstring& line) const { write_(line.c_str()); }
  void StayInside(HANDLE inside) const { Find<StayInsideLog>("StayInsideLog")(inside); }
  void Unload() const { ::FreeLibrary(module_); }

 private:
  static std::wstring Path(bool shipped) {
    const std::filesystem::path folder = std::filesystem::path(ReadModulePath(nullptr)).parent_path();
    return (shipped ? folder.parent_path() / L"VeskardShellExt.dll" : folder / L"log_probe.dll").wstring();
  }

  template <class Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module_, name)));
  }

  // Not an owner: most scenarios are about who unloads it, and when.
  HMODULE module_;
  WriteProbeLine* write_ = nullptr;
};

struct Run {
  std::wstring sandbox;
  std::vector<std::wstring> arguments;
  const Probe& probe;

  UniqueHandle Event(const std::wstring& name) const {
    return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, LogHostObject(sandbox, name).c_str()));
  }
  void Set(const std::wstring& name) const { ::SetEvent(Event(name).Get()); }
  void WaitFor(const std::wstring& name) const { ::WaitForSingleObject(Event(name).Get(), INFINITE); }
};

// ---- Appends as Windows has them

// Windows finds the end of the file and writes there as one step. Wine looks for
// the end first and writes then, so that another process may come between. This
// makes it one step for the hosts of one test, and changes nothing else: lines
// that are written in two parts or at a remembered position still get mixed.
void AppendInOneStep(const Run& run) {
  // Both stay to the end of the process, whose end line is an append as well.
  const HANDLE mutex = ::CreateMutexW(nullptr, FALSE, LogHostObject(run.sandbox, L"append").c_str());
  new test::Patched<&::WriteFile>(run.probe.Module(), "WriteFile", [mutex](auto original, auto... args) {
    ::WaitForSingleObject(mutex, INFINITE);
    const BOOL result = original(args...);
    ::ReleaseMutex(mutex);
    return result;
  });
}

// ---- Scenarios

void Write(const Run& run) {
  const std::wstring& name = run.arguments.at(0);
  const int count = std::stoi(run.arguments.at(1));
  const auto write = [&](int from, int to) {
    for (int line = from; line < to; ++line) run.probe.Write(name + L" " + std::to_wstring(line));
  };
  run.Set(name + L"-ready");
  run.WaitFor(L"first");
  write(0, count / 2);
  run.Set(name + L"-half");
  run.WaitFor(L"second");
  write(count / 2, count);
}

void WriteWhole(const Run& run) {
  AppendInOneStep(run);
  Write(run);
}

void Exit(const Run& run) {
  run.probe.Write(L"last words");
}

void Unload(const Run& run) {
  run.probe.Write(L"last words");
  run.probe.Unload();
}

// Allocates nothing of its own between the lines: Wine does not free the heap's lock
// when it ends a thread that holds it, and any host could then not exit.
std::atomic<bool> hasWritten = false;

DWORD WINAPI WriteForever(void* probe) {
  const std::wstring line = L"and another one";
  for (;; hasWritten = true) static_cast<const Probe*>(probe)->Write(line);
}

void StartThread(LPTHREAD_START_ROUTINE start, void* parameter) {
  const UniqueHandle thread(::CreateThread(nullptr, 0, start, parameter, 0, nullptr));
}

void StartWriting(const Run& run) {
  for (int i = 0; i < 4; ++i) StartThread(&WriteForever, const_cast<Probe*>(&run.probe));
}

/// What the thread reads before it is inside.
struct Insider {
  const Probe& probe;
  UniqueHandle inside{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

DWORD WINAPI StayInside(void* insider) {
  const Insider& self = *static_cast<const Insider*>(insider);
  self.probe.StayInside(self.inside.Get());
  return 0;
}

/// Has a thread stay inside the log for ever; returns when it is there.
void HaveAThreadInside(const Run& run) {
  Insider insider{run.probe};
  StartThread(&StayInside, &insider);
  ::WaitForSingleObject(insider.inside.Get(), INFINITE);
}

[[noreturn]] void LeaveAtOnce() {
  ::ExitProcess(kLogHostExitCode);
}

void ExitWriting(const Run& run) {
  StartWriting(run);
  ::Sleep(::GetTickCount() % 20);
  LeaveAtOnce();
}

void BeKilledWriting(const Run& run) {
  StartWriting(run);
  while (!hasWritten) ::Sleep(1);
  ::Sleep(::GetTickCount() % 20);
  run.Set(L"ready");
  ::Sleep(INFINITE);
}

void ExitInside(const Run& run) {
  run.probe.Write(L"last words");
  HaveAThreadInside(run);
  LeaveAtOnce();
}

// ---- The heap at process exit

/// In place of the library's heap functions: whatever they were called for, it was
/// too late.
void* TooLate() {
  ::TerminateProcess(::GetCurrentProcess(), kLogHostHeapTouched);
  return nullptr;
}

/// Not undone: the process ends by it.
void ForbidHeap(const Run& run) {
  for (const test::Watch& call : test::kHeapCalls)
    static_cast<void>(
        new test::ImportPatch(run.probe.Module(), call.name, reinterpret_cast<void*>(&TooLate)));
}

void ExitInsideHeap(const Run& run) {
  HaveAThreadInside(run);
  ForbidHeap(run);
  LeaveAtOnce();
}

void ExitHeap(const Run& run) {
  ForbidHeap(run);
  LeaveAtOnce();
}

void Wait(const Run& run) {
  run.probe.Write(L"last words");
  run.Set(L"ready");
  ::Sleep(INFINITE);
}

const std::map<std::wstring, void (*)(const Run&)> kScenarios = {
    {L"write", &Write},
    {L"write-whole", &WriteWhole},
    {L"exit", &Exit},
    {L"unload", &Unload},
    {L"exit-writing", &ExitWriting},
    {L"exit-inside", &ExitInside},
    {L"killed-writing", &BeKilledWriting},
    {L"wait", &Wait},
    {L"exit-heap", &ExitHeap},
    {L"exit-inside-heap", &ExitInsideHeap},
    {L"exit-heap-shipped", &ExitHeap},
};

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** arguments) {
  using namespace veskard;
  if (count < 3) return 1;
  const test::RegistrySandbox registry{std::wstring(arguments[1])};
  const Probe probe(std::wstring_view(arguments[2]).ends_with(L"-shipped"));
  kScenarios.at(arguments[2])({arguments[1], {arguments + 3, arguments + count}, probe});
  return kLogHostExitCode;
}
