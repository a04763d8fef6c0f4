// CallingHost: a host that has loaded the built library and watches what it calls. It has
// a registry of its own where the log is off, and a service agent that is there but takes
// no messages.
#pragma once

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/WatchedCalls.h"

namespace veskard::test {

class CallingHost {
 public:
  CallingHost() { SetLogSwitch(0); }

  const ExtensionLibrary& Library() const noexcept { return library_; }

  /// What all threads, or this one, call through the library's imports meanwhile.
  template <class Run>
  CallNumbers CallsOf(const Run& run, Threads threads) const {
    const WatchedCalls calls(library_.Module());
    run();
    CallNumbers numbers = calls.Numbers(threads);
    // Locks cost almost nothing, and the heap's functions are not the system's.
    for (const char* free :
         {"EnterCriticalSection", "LeaveCriticalSection", "malloc", "calloc", "realloc", "free"})
      numbers.erase(free);
    return numbers;
  }

 private:
  RegistrySandbox registry_;
  FakeAgentMutex agent_{AgentKind::kService};
  ExtensionLibrary library_;
};

}  // namespace veskard::test
