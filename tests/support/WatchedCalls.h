// WatchedCalls: stands between a module and functions that it imports, counts their
// calls, and lets them fail one after the other.
//
//     WatchedCalls calls{"CreateFileW", "ReadFile"};
//     calls.FailEach([&] { prepare(); },
//                    [&] { result = operation(); },
//                    [&](const FailedCall& failed) { EXPECT_FALSE(result) << failed; });
//     EXPECT_EQ(calls.Of("CreateFileW"), 2);
//
//     const FailingCall first("CopyFileW", ERROR_DISK_FULL);  // and no later one
//
// Any function of the table in KnownCalls.cpp can be watched; another one needs a row
// there, no more. The calls are caught where the module keeps the functions' addresses
// (tools/common/ImportSlot.h), so that what is linked into it is watched and what lies in
// other modules is not.
#pragma once

#include <windows.h>

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "tests/support/Faults.h"
#include "tests/support/KnownCalls.h"

namespace veskard::test {

/// The error code that failing calls give unless a watch names another.
inline constexpr DWORD kInjectedError = ERROR_TOO_MANY_OPEN_FILES;

/// One function to watch.
struct Watch {
  Watch(const char* function, DWORD withError = kInjectedError) : name(function), error(withError) {}

  const char* name;
  DWORD error;
};

/// Calls by the function's name.
using CallNumbers = std::map<std::string, long>;

/// Watches for its lifetime; no function is watched by two at a time. Made and
/// destroyed while no other thread of the module runs. The test fails where a function
/// that is named is not imported.
class WatchedCalls {
 public:
  /// Functions that this program imports.
  WatchedCalls(std::initializer_list<Watch> calls);
  WatchedCalls(HMODULE module, std::initializer_list<Watch> calls);
  /// Every function of the table that the module imports, failing as the table says.
  explicit WatchedCalls(HMODULE module);
  ~WatchedCalls();
  WatchedCalls(const WatchedCalls&) = delete;
  WatchedCalls& operator=(const WatchedCalls&) = delete;

  /// Calls since it was made, of all threads, those that fail included.
  long Of(std::string_view function) const;
  /// The same of all functions that were called, or of the calls of the thread that
  /// made it.
  CallNumbers Numbers(Threads threads) const;
  /// What these calls have taken and not given back since it was made.
  ptrdiff_t Holds(Held what) const noexcept;

  /// Prepares, runs and checks, first without a failure, then with call 1, 2, ...
  /// failing, until the operation has fewer calls than that. Only `operation` is
  /// watched, on this thread. Each run must leave as many handles open as it found.
  /// Returns the number of calls of the undisturbed run.
  size_t FailEach(const std::function<void()>& prepare, const std::function<void()>& operation,
                  const std::function<void(const FailedCall&)>& check);

 private:
  struct Patch {
    KnownCall* call;
    void** slot;
  };
  void PutInFront(KnownCall& call, void** slot);
  void UndoLateOnes() noexcept;
  void Begin() noexcept;

  const HMODULE module_;
  std::vector<Patch> patches_;
  ptrdiff_t heldBefore_[kHeldKinds] = {};
};

/// One function whose call number `number` on this thread fails; of this program unless
/// a module is named.
class FailingCall {
 public:
  explicit FailingCall(const char* function, DWORD error = kInjectedError, size_t number = 1,
                       HMODULE module = ::GetModuleHandleW(nullptr))
      : calls_(module, {{function, error}}), fault_({.kind = FaultKind::kSystemCall, .number = number}) {}

  bool Happened() const noexcept { return fault_.Happened(); }

 private:
  WatchedCalls calls_;
  ArmedFault fault_;
};

/// Puts the watch in front of everything in the table that the module imports, late or not;
/// only unloading the module undoes it. For a module that is being loaded.
void WatchImportsOf(HMODULE module);

/// Calls that do not fail are answered by another function of the same type.
void AnswerBy(std::string_view function, void* standIn);
/// By the function itself again, all of them.
void StopAnswering();

/// The requests for memory of a module. With LLVM's run-time library nothing asks for
/// memory that is filled with zeros.
#ifdef _LIBCPP_VERSION
inline const std::initializer_list<Watch> kHeapCalls = {"malloc", "realloc", "free"};
#else
inline const std::initializer_list<Watch> kHeapCalls = {"malloc", "calloc", "realloc", "free"};
#endif

}  // namespace veskard::test
