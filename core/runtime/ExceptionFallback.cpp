// Needed by: LLVM's C++ run-time library (arm64).
//
// Exceptions when the process is out of memory. LLVM's library falls back to 512 bytes of
// static data then. That is two exceptions, and without a third it ends the host. And it keeps
// the free parts in a list which it breaks when they are given back in some orders: a part
// that comes back just below a free one, which is not the list's first, loses its successor.
// The next thread that follows the list does so for ever, holding the lock, and every other
// exception of the process waits for it
// (ExceptionMemoryTest.SpareMemoryMayBeGivenBackInAnyOrder).
//
// The linker takes these functions instead of the library's. Its records of threads are
// thread-local variables of the system's own kind and need no replacement.
#include <cxxabi.h>
#include <malloc.h>

#include <cstddef>
#include <exception>

#include "core/runtime/SpareBlocks.h"

namespace veskard {
namespace {

constinit SpareBlocks spareBlocks;

bool HasExceptionInFlight() noexcept {
  return std::uncaught_exceptions() != 0 || abi::__cxa_current_exception_type() != nullptr;
}

}  // namespace
}  // namespace veskard

// NOLINTBEGIN(bugprone-reserved-identifier)
namespace __cxxabiv1 {

void* __aligned_malloc_with_fallback(size_t size) {
  return veskard::spareBlocks.TakeAfter(
      [=] { return ::_aligned_malloc(size, veskard::SpareBlocks::kAlignment); }, size,
      &veskard::HasExceptionInFlight);
}

void __aligned_free_with_fallback(void* block) {
  if (!veskard::spareBlocks.GiveBack(block)) ::_aligned_free(block);
}

}  // namespace __cxxabiv1
// NOLINTEND(bugprone-reserved-identifier)
