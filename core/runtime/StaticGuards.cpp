// Needed by: GCC's C++ run-time library, for 64 and 32 bits (win64, win32). LLVM's guards stand
// on the system's own locks.
//
// Guards of function-local statics. GCC's own stand on a mutex that is allocated when the
// first static is initialised, and on a semaphore pair and a thread-local index that are never
// given back. Ours are a critical section and a condition variable, which need nothing of the
// kind.
//
// Without this file a host that has no memory for that mutex ends with an access violation
// (LibraryLifeTest.AFirstClassObjectWithoutMemoryAnswersNullAndTheNextOneSucceeds), and each
// load and unload of the library costs it two handles, four blocks and one of 1088
// thread-local indices (FiveHundredLoadsLeaveNothing).
#include "core/CriticalSection.h"

namespace veskard {

/// The compiler's record of one function-local static: the first byte is set once it is
/// initialised, the second while a thread initialises it.
struct Guard {
  unsigned char initialized;
  unsigned char busy;

  bool IsInitialized() const noexcept { return __atomic_load_n(&initialized, __ATOMIC_ACQUIRE) != 0; }
  void SetInitialized() noexcept { __atomic_store_n(&initialized, 1, __ATOMIC_RELEASE); }
};

namespace {

/// The three calls of the C++ ABI around an initialisation. The lock is not held
/// meanwhile: only threads that need the same static wait.
class StaticGuards {
 public:
  StaticGuards() noexcept = default;
  StaticGuards(const StaticGuards&) = delete;
  StaticGuards& operator=(const StaticGuards&) = delete;

  /// Whether the caller is to initialise the static now.
  bool Acquire(Guard& guard) noexcept {
    if (guard.IsInitialized()) return false;
    const CriticalSectionHold hold(lock_);
    while (guard.busy != 0) lock_.WaitFor(changed_);
    if (guard.IsInitialized()) return false;
    guard.busy = 1;
    return true;
  }

  void Release(Guard& guard, bool succeeded) noexcept {
    {
      const CriticalSectionHold hold(lock_);
      if (succeeded) guard.SetInitialized();
      guard.busy = 0;
    }
    ::WakeAllConditionVariable(&changed_);
  }

 private:
  CriticalSection lock_;
  CONDITION_VARIABLE changed_ = CONDITION_VARIABLE_INIT;
};

// The first object of the module to be made, and the last to go.
__attribute__((init_priority(101))) StaticGuards staticGuards;

}  // namespace
}  // namespace veskard

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __cxa_guard_acquire(veskard::Guard* guard) {
  return veskard::staticGuards.Acquire(*guard) ? 1 : 0;
}

void __cxa_guard_release(veskard::Guard* guard) {
  veskard::staticGuards.Release(*guard, true);
}

void __cxa_guard_abort(veskard::Guard* guard) {
  veskard::staticGuards.Release(*guard, false);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
