// What the compiler's run-time library keeps for as long as the process lives,
// although this library may be unloaded long before: replaced or given back.
//
//   * Guards of function-local statics: the run-time library's take semaphores,
//     a thread-local index and a block for every thread that waits or not, and
//     have no end. Ours are one critical section, which also does not block a
//     process that exits while a thread was inside.
//   * The spare memory for exceptions (73 KB, taken at load) is never freed.
//
// Without this every load and unload of the library costs its host 74 KB, two
// handles and one of 1088 thread-local indices.
#include "core/CriticalSection.h"

namespace __gnu_cxx {
void __freeres();  // the run-time library's own, declared in no header
}

namespace veskard {
namespace {

/// The first object of the module to be made and the last to go.
struct StaticGuards {
  StaticGuards() noexcept = default;
  ~StaticGuards() { __gnu_cxx::__freeres(); }

  CriticalSection lock;
};

__attribute__((init_priority(101))) StaticGuards staticGuards;

/// A guard's first byte tells whether its static is initialised.
using Guard = unsigned char;

bool IsInitialized(const Guard* guard) noexcept {
  return __atomic_load_n(guard, __ATOMIC_ACQUIRE) != 0;
}

}  // namespace
}  // namespace veskard

// The C++ ABI's three calls around each initialisation. The lock is held from
// acquire to release or abort; it is recursive, since one initialisation may need
// another static.
extern "C" {

int __cxa_guard_acquire(veskard::Guard* guard) {
  using namespace veskard;
  if (IsInitialized(guard)) return 0;
  staticGuards.lock.Enter();
  if (!IsInitialized(guard)) return 1;
  staticGuards.lock.Leave();
  return 0;
}

void __cxa_guard_release(veskard::Guard* guard) {
  __atomic_store_n(guard, veskard::Guard{1}, __ATOMIC_RELEASE);
  veskard::staticGuards.lock.Leave();
}

void __cxa_guard_abort(veskard::Guard*) {
  veskard::staticGuards.lock.Leave();
}

}  // extern "C"
