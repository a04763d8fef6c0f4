// The library's only kind of lock.
#pragma once

#include <windows.h>

namespace veskard {

/// A recursive lock. A critical section, not a standard mutex, because TryEnter is allowed
/// while the process exits, after the threads that held it have ended.
class CriticalSection {
 public:
  CriticalSection() noexcept { ::InitializeCriticalSection(&section_); }
  ~CriticalSection() { ::DeleteCriticalSection(&section_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void Enter() noexcept { ::EnterCriticalSection(&section_); }
  /// Enters unless another thread, running or ended, is inside. Returns whether it entered.
  [[nodiscard]] bool TryEnter() noexcept { return ::TryEnterCriticalSection(&section_) != FALSE; }
  /// Leaves, sleeps until the condition is woken, and enters again. May also wake
  /// without a cause. Not while the lock is held twice.
  void WaitFor(CONDITION_VARIABLE& condition) noexcept {
    ::SleepConditionVariableCS(&condition, &section_, INFINITE);
  }
  void Leave() noexcept { ::LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

/// Holds a lock for a scope; a null lock holds nothing.
class CriticalSectionHold {
 public:
  explicit CriticalSectionHold(CriticalSection& section) noexcept : CriticalSectionHold(&section) {}
  explicit CriticalSectionHold(CriticalSection* section) noexcept : section_(section) {
    if (section_ != nullptr) section_->Enter();
  }
  ~CriticalSectionHold() {
    if (section_ != nullptr) section_->Leave();
  }
  CriticalSectionHold(const CriticalSectionHold&) = delete;
  CriticalSectionHold& operator=(const CriticalSectionHold&) = delete;

 private:
  CriticalSection* section_;
};

}  // namespace veskard
