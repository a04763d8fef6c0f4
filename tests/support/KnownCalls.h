// KnownCalls: the table of the system's functions that tests intercept, each with its
// failure and with the resource that a call acquires or releases. It has every function
// of the system that the built library imports, except those that cannot fail and cost
// almost nothing, and those that only the compiler's run-time library calls;
// tests/torture/TortureTest.cpp lists these and checks that none is missing.
#pragma once

#include <windows.h>

#include <atomic>
#include <span>
#include <string_view>

#include "tests/support/Faults.h"

namespace veskard::test {

/// One row. The upper half is fixed; the lower half is of the watch that
/// intercepts the function at the moment (tests/support/WatchedCalls.h).
struct KnownCall {
  const char* name;
  void* replacement = nullptr;  // counts, fails when it has to, and goes on to Target()

  bool canFail = false;
  bool isSuccessZero = false;  // 0 is success; otherwise any answer but `failure` is
  bool isErrorAnswer = false;  // and the error's code is the answer of a failing call
  intptr_t failure = 0;
  DWORD error = ERROR_SUCCESS;  // the thread's last error after a failure
  Held held = Held::kNothing;
  ptrdiff_t change = 0;

  void* original = nullptr;
  void* standIn = nullptr;
  DWORD givenError = ERROR_SUCCESS;  // in place of `error`
  std::atomic<long> calls = 0;
  std::atomic<long> ownCalls = 0;  // of the thread that made the watch

  void Count() noexcept;
  /// Counts a call. When it must fail the last error is set.
  bool MustFail() noexcept;
  bool HasSucceeded(intptr_t answer) const noexcept;
  intptr_t Failure() const noexcept { return isErrorAnswer ? static_cast<intptr_t>(Error()) : failure; }
  DWORD Error() const noexcept { return givenError != ERROR_SUCCESS ? givenError : error; }
  void Take() const noexcept { Faults::Take(held, change); }
  void* Target() const noexcept { return standIn != nullptr ? standIn : original; }
};

std::span<KnownCall* const> KnownCalls();

/// Null where the table has no such function.
KnownCall* FindKnownCall(std::string_view name);

/// The thread whose calls count as "own".
void SetOwnThread(DWORD thread) noexcept;

}  // namespace veskard::test
