// CallCount: counts the calls of one function that this program imports, and what
// such calls make and free.
#pragma once

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "tests/support/ImportPatch.h"

namespace veskard::test {

/// A function's name as a template's argument.
template <size_t kSize>
struct FunctionName {
  constexpr FunctionName(const char (&name)[kSize]) { std::copy_n(name, kSize, text); }
  char text[kSize] = {};
};

/// What a successful call does to the number of live objects.
enum class Effect { kNone = 0, kMakes = 1, kFrees = -1 };

/// Stands between this program and a function for as long as it lives. An effect is
/// for functions that answer 0 for success. Together with
/// tests/support/FailingCalls.h it is made first: a call that is made to fail does
/// not arrive here.
template <FunctionName kName, Effect kEffect, class Function>
class CallCount;

template <FunctionName kName, Effect kEffect, class Answer, class... Args>
class CallCount<kName, kEffect, Answer(WINAPI*)(Args...)> {
 public:
  explicit CallCount(std::atomic<int>& live)
      : patch_(nullptr, kName.text, reinterpret_cast<void*>(&Counting)) {
    original_ = reinterpret_cast<Answer(WINAPI*)(Args...)>(patch_.Original());
    live_ = &live;
    calls_ = 0;
  }

  int Calls() const noexcept { return calls_; }

 private:
  static Answer WINAPI Counting(Args... args) {
    ++calls_;
    const Answer answer = original_(args...);
    if (answer == Answer{}) *live_ += static_cast<int>(kEffect);
    return answer;
  }

  static inline Answer(WINAPI* original_)(Args...) = nullptr;
  static inline std::atomic<int>* live_ = nullptr;
  static inline std::atomic<int> calls_ = 0;
  const ImportPatch patch_;
};

}  // namespace veskard::test
