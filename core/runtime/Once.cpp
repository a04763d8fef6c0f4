// Needed by: GCC for 32-bit Windows (win32), whose unwinder prepares a table at its first use.
// For 64 bits the system unwinds, and LLVM's run-time libraries prepare nothing.
//
// Replaces pthread_once of winpthreads, which allocates a lock for each use and a record for
// each thread: the first exception without memory for them ends the host with an access
// violation (LibraryLifeTest.ManyLivingThreadsMayRunOutOfMemoryAtOnce; TortureTest,
// "MemoryFromThen"). The system's own one-time initialisation needs no memory.
//
// The linker is told to call this one (--wrap): winpthreads has its own in one object with
// all that a program with threads needs.
#include <pthread.h>
#include <windows.h>

namespace veskard {
namespace {

/// One call of the function; it counts as not made when the function throws.
class Attempt {
 public:
  explicit Attempt(INIT_ONCE& once) noexcept : once_(once) {}
  ~Attempt() { ::InitOnceComplete(&once_, succeeded_ ? 0 : INIT_ONCE_INIT_FAILED, nullptr); }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  void Make(void (*function)()) {
    function();
    succeeded_ = true;
  }

 private:
  INIT_ONCE& once_;
  bool succeeded_ = false;
};

}  // namespace
}  // namespace veskard

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __wrap_pthread_once(pthread_once_t* control, void (*function)()) {
  // Both are zero before the first use, and nobody else reads them.
  static_assert(PTHREAD_ONCE_INIT == 0 && sizeof(*control) == sizeof(INIT_ONCE));
  auto& once = *reinterpret_cast<INIT_ONCE*>(control);
  BOOL isPending = FALSE;
  if (!::InitOnceBeginInitialize(&once, 0, &isPending, nullptr)) return static_cast<int>(::GetLastError());
  if (isPending) veskard::Attempt(once).Make(function);
  return 0;
}
