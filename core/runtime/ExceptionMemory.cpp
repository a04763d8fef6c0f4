// Needed by: GCC's C++ run-time library, for 64 and 32 bits (win64, win32). LLVM's needs less:
// ExceptionFallback.cpp.
//
// Exceptions when the process is out of memory: the part of the C++ run-time library that
// allocates for them, replaced by one that needs no heap.
//
// Out of memory is the one exception that this library has to survive, and then GCC's own
// code would end the host: it allocates the lock of its spare memory and a record for each
// thread, and calls abort, or throws again without end, when that fails. It also takes
// 73 KB of spare memory at load and never gives them back, although a library may be
// unloaded.
//
// Here nothing is allocated at load and nothing is kept: the spare memory is part of the
// library's data, and each thread's record part of the block that the system gives every
// thread for every module.
//
// GCC 13 and later can be built with the spare memory in static data
// (--enable-libstdcxx-static-eh-pool). With such a compiler the spare blocks below can go;
// the records can go when libstdc++ gets its own from the system's thread-local storage
// instead of the heap. Then the whole file is unnecessary.
#include <cxxabi.h>
#include <windows.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/runtime/SpareBlocks.h"

namespace veskard {
namespace {

// --- What a thread has in flight ---

/// The C++ ABI's record of one thread: the exceptions that it has caught and not yet
/// done with, and how many it has thrown and not yet caught.
struct ThreadRecord {
  void* caught;
  unsigned uncaught;

  bool HasExceptionInFlight() const noexcept { return caught != nullptr || uncaught != 0; }
};

// The run-time library's entry for the system about thread-local data: the initial contents
// of a thread's block, and the place of the module's number.
extern "C" const IMAGE_TLS_DIRECTORY _tls_used;  // NOLINT(bugprone-reserved-identifier)

// The first contents of every thread's record. The system copies the whole section for each
// thread, also for those that live already when the library is loaded (since Windows Vista),
// and frees the copies when the thread ends or the library is unloaded. It refuses a thread,
// or to load the library, when it has no memory for them; from then on there is no failure.
//
// The linker sorts by the section's name: between the run-time library's ".tls", where the
// contents begin, and ".tls$ZZZ", where they end. A thread_local variable would not do: GCC 12
// keeps those on the heap here.
__attribute__((section(".tls$RECORD"))) ThreadRecord firstRecord = {nullptr, 0};

// What compilers with thread-local variables of their own have each access do.
ThreadRecord& RecordOfThisThread() noexcept {
  constexpr size_t kBlocks = 11;  // which pointer of the thread's environment block
  char* const* const blocks = static_cast<char**>(::NtCurrentTeb()->Reserved1[kBlocks]);
  const DWORD index = *reinterpret_cast<const DWORD*>(_tls_used.AddressOfIndex);
  const size_t offset = reinterpret_cast<uintptr_t>(&firstRecord) - _tls_used.StartAddressOfRawData;
  return *reinterpret_cast<ThreadRecord*>(blocks[index] + offset);
}

// --- Memory of exceptions ---

// Stands before each thrown object:
//
//     | room, its end being the compiler's header | thrown object
//
// The size of the compiler's header is internal to it and differs between targets; it is
// always below this. It begins as zeros.
constexpr size_t kHeaderRoom = 256;

constinit SpareBlocks spareBlocks;

void* TakeZeros(size_t size) noexcept {
  void* const block = spareBlocks.TakeAfter([=] { return std::malloc(size); }, size,
                                            [] { return RecordOfThisThread().HasExceptionInFlight(); });
  return std::memset(block, 0, size);
}

void GiveBack(void* block) noexcept {
  if (!spareBlocks.GiveBack(block)) std::free(block);
}

}  // namespace
}  // namespace veskard

// --- The calls of the C++ ABI ---

namespace __cxxabiv1 {
extern "C" {

void* __cxa_allocate_exception(size_t size) noexcept {
  return static_cast<char*>(veskard::TakeZeros(veskard::kHeaderRoom + size)) + veskard::kHeaderRoom;
}

void __cxa_free_exception(void* exception) noexcept {
  veskard::GiveBack(static_cast<char*>(exception) - veskard::kHeaderRoom);
}

// A second reference to an exception: a header alone, without an object.
__cxa_dependent_exception* __cxa_allocate_dependent_exception() noexcept {
  return static_cast<__cxa_dependent_exception*>(veskard::TakeZeros(veskard::kHeaderRoom));
}

void __cxa_free_dependent_exception(__cxa_dependent_exception* header) noexcept {
  veskard::GiveBack(header);
}

__cxa_eh_globals* __cxa_get_globals() noexcept {
  return reinterpret_cast<__cxa_eh_globals*>(&veskard::RecordOfThisThread());
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
  return __cxa_get_globals();
}

}  // extern "C"
}  // namespace __cxxabiv1
