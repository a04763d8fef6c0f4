// Failing Windows call number N: runs an operation again and again, with the first
// of its calls failing, then the second, and so on.
//
//     FailingCalls calls{
//         Watch<&::CreateFileW>("CreateFileW", INVALID_HANDLE_VALUE),
//         Watch<&::ReadFile>("ReadFile", FALSE),
//     };
//     calls.FailEach([&] { prepare(); },
//                    [&] { result = operation(); },
//                    [&](const FailedCall& failed) { EXPECT_FALSE(result) << failed.name; });
//
// The calls are caught in the import table of the test program itself, so that
// what is linked into it is watched and what lies in other modules is not.
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <vector>

#include "tests/support/ImportPatch.h"

namespace veskard::test {

/// The error code that failing calls give unless a watch names another.
inline constexpr DWORD kInjectedError = ERROR_TOO_MANY_OPEN_FILES;

/// Which call failed; number 0 is the run in which none did.
struct FailedCall {
  size_t number = 0;
  const char* name = "none";
  DWORD error = 0;

  bool Is(std::string_view function) const { return name == function; }
};
std::ostream& operator<<(std::ostream& out, const FailedCall& failed);

/// One watched function; made by Watch below.
struct WatchedCall {
  const char* name;
  void* replacement;
  void** original;
};

/// Counts the calling thread's watched calls while armed.
class CallCounter {
 public:
  /// Asked by each watched call: must it fail?
  static bool MustFail(const char* name, DWORD error) noexcept;

  static void Arm(size_t failingNumber) noexcept;
  static void Disarm() noexcept;
  static size_t Calls() noexcept { return calls_; }
  static const FailedCall& Failed() noexcept { return failed_; }

  /// From now on the failing call ends the process with this code instead; 0: not.
  static void EndProcessInstead(UINT exitCode) noexcept { exitCode_ = exitCode; }

 private:
  static inline size_t calls_ = 0;
  static inline size_t failingNumber_ = 0;
  static inline DWORD thread_ = 0;  // 0: not armed
  static inline UINT exitCode_ = 0;
  static inline FailedCall failed_;
};

template <auto kFunction>
struct Watched;

template <class R, class... Args, R(WINAPI* kFunction)(Args...)>
struct Watched<kFunction> {
  static R WINAPI Call(Args... args) {
    if (!CallCounter::MustFail(name, error)) return reinterpret_cast<R(WINAPI*)(Args...)>(original)(args...);
    ::SetLastError(error);
    return failure;
  }
  static inline const char* name = nullptr;
  static inline R failure{};
  static inline DWORD error = kInjectedError;
  static inline void* original = nullptr;
};

/// `failure` is what the function returns when it fails.
template <auto kFunction, class Failure>
WatchedCall Watch(const char* name, Failure failure, DWORD error = kInjectedError) {
  using Call = Watched<kFunction>;
  Call::name = name;
  Call::failure = static_cast<decltype(Call::failure)>(failure);
  Call::error = error;
  return {name, reinterpret_cast<void*>(&Call::Call), &Call::original};
}

/// Watches a set of functions for as long as it lives; one at a time.
class FailingCalls {
 public:
  FailingCalls(std::initializer_list<WatchedCall> calls);
  ~FailingCalls() { CallCounter::Disarm(); }
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  /// Prepares, runs and checks, first without a failure, then with call 1, 2, ...
  /// failing, until the operation has fewer calls than that. Only `operation` is
  /// watched. Each run must leave as many handles open as it found. Returns the
  /// number of calls of the undisturbed run.
  size_t FailEach(const std::function<void()>& prepare, const std::function<void()>& operation,
                  const std::function<void(const FailedCall&)>& check);

 private:
  std::vector<std::unique_ptr<ImportPatch>> patches_;
};

}  // namespace veskard::test
