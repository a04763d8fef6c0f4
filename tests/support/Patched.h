// Patched: replaces a function of the system by a test's own.
//
//     std::vector<std::wstring> deleted;
//     const Patched<&::DeleteFileW> remove("DeleteFileW", [&](auto original, LPCWSTR path) {
//       deleted.push_back(path);
//       return original(path);
//     });
//
//     const Patched<&::GetUserNameW> refused("GetUserNameW", [](auto...) { return FALSE; });
//
// For a call that only fails or is counted, tests/support/WatchedCalls.h is shorter.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include "tests/support/ImportPatch.h"

namespace veskard::test {

template <auto kFunction>
class Patched;

/// The function in the import table, and the type of the function that it calls.
template <auto kFunction, class Type = decltype(kFunction)>
struct Replacement;

template <auto kFunction, class Result, class... Args>
struct Replacement<kFunction, Result(WINAPI*)(Args...)> {
  using Answer = std::function<Result(Args...)>;
  static Result WINAPI Call(Args... args) { return Patched<kFunction>::current_->answer_(args...); }
};

// For 32 bits C functions are called another way; elsewhere this is the same type once more.
template <auto kFunction, class Result, class... Args>
requires(!std::is_same_v<Result(WINAPI*)(Args...), Result(__cdecl*)(Args...)>) struct Replacement<
    kFunction, Result(__cdecl*)(Args...)> {
  using Answer = std::function<Result(Args...)>;
  static Result __cdecl Call(Args... args) { return Patched<kFunction>::current_->answer_(args...); }
};

/// Replaces the import for its lifetime. `answer` takes the original function
/// and then the call's arguments, and runs on the thread that calls. The test fails when
/// the module does not import the function, or when the function, of whatever module, is
/// patched already. Made and destroyed while no other thread calls the function.
template <auto kFunction>
class Patched {
 public:
  /// In this program.
  template <class Answer>
  Patched(const char* name, Answer answer) : Patched(nullptr, name, std::move(answer)) {}
  template <class Answer>
  Patched(HMODULE module, const char* name, Answer answer)
      : answer_([this, answer = std::move(answer)](auto&&... args) mutable {
          return answer(Original(), args...);
        }) {
    if (current_ != nullptr) {
      ADD_FAILURE() << name << " is patched twice";
      return;
    }
    current_ = this;
    patch_.emplace(module, name, reinterpret_cast<void*>(&Replacement<kFunction>::Call));
  }
  ~Patched() {
    if (!patch_) return;
    patch_.reset();
    current_ = nullptr;
  }
  Patched(const Patched&) = delete;
  Patched& operator=(const Patched&) = delete;

  /// The function that the module called before; null when nothing is patched.
  decltype(kFunction) Original() const noexcept {
    return patch_ ? reinterpret_cast<decltype(kFunction)>(patch_->Original()) : nullptr;
  }

 private:
  friend struct Replacement<kFunction>;

  static inline Patched* current_ = nullptr;

  typename Replacement<kFunction>::Answer answer_;
  std::optional<ImportPatch> patch_;
};

}  // namespace veskard::test
