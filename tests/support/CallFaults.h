// CallFaults: lets one call to the system fail, and counts what such calls make
// and free. The tested code runs unchanged; its imports are patched.
#pragma once

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <string>

#include "tests/support/ImportPatch.h"

namespace veskard::test {

/// Which call fails, and what has been made so far; one plan serves all hooks.
class FaultPlan {
 public:
  /// Call number `n` from now on fails, counted from 1; 0: none does.
  void FailCall(int n) noexcept {
    calls_ = 0;
    failing_ = n;
    failed_.clear();
  }

  int Calls() const noexcept { return calls_; }

  /// The function whose call failed; empty while none has.
  const std::string& Failed() const noexcept { return failed_; }

  /// What was made and not freed yet, since the hooks are there.
  int Live() const noexcept { return live_; }

  bool TakesCall(const char* function) {
    if (++calls_ != failing_) return false;
    failed_ = function;
    return true;
  }
  void Made(int count) noexcept { live_ += count; }

 private:
  std::atomic<int> calls_ = 0;
  std::atomic<int> live_ = 0;
  int failing_ = 0;
  std::string failed_;
};

inline FaultPlan faultPlan;

/// A function's name as a template's argument.
template <size_t kSize>
struct FunctionName {
  constexpr FunctionName(const char (&name)[kSize]) { std::copy_n(name, kSize, text); }
  char text[kSize] = {};
};

/// What a function does to the number of live objects. Freeing never fails.
enum class Effect { kNone = 0, kMakes = 1, kFrees = -1 };

/// Stands between this program and the function of this name and type for as long
/// as it lives. A call that is to fail answers `kFailure` and does nothing.
template <FunctionName kName, Effect kEffect, class Function, auto kFailure>
class CallHook;

template <FunctionName kName, Effect kEffect, class Answer, class... Args, auto kFailure>
class CallHook<kName, kEffect, Answer(WINAPI*)(Args...), kFailure> {
 public:
  CallHook() : patch_(nullptr, kName.text, reinterpret_cast<void*>(&Replacement)) {
    original_ = reinterpret_cast<Answer(WINAPI*)(Args...)>(patch_.Original());
  }

 private:
  static Answer WINAPI Replacement(Args... args) {
    if (kEffect != Effect::kFrees && faultPlan.TakesCall(kName.text)) return kFailure;
    const Answer answer = original_(args...);
    if (Succeeded(answer)) faultPlan.Made(static_cast<int>(kEffect));
    return answer;
  }
  static bool Succeeded(Answer answer) noexcept {
    // Of codes 0 is the good one, of handles the bad one.
    return Answer(kFailure) == Answer() ? answer != Answer() : answer == Answer();
  }

  static inline Answer(WINAPI* original_)(Args...) = nullptr;
  const ImportPatch patch_;
};

}  // namespace veskard::test
