// Exceptions when memory has ended: the run-time library's part that takes memory,
// replaced by one that cannot fail for want of it.
//
// Running out of memory is the one exception that this library lives with, and then
// the run-time library's own code would end the host: it takes heap blocks for the
// lock of its spare memory and for what it notes about each thread, and calls abort
// or throws anew without end when there are none. It also takes those 73 KB of spare
// memory at load and never gives them back, although a library may be unloaded.
//
// Here the spare memory and the notes are part of the library's data: nothing is
// taken at load, nothing is kept, and there is nothing to run out of but the slots.
#include <cxxabi.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

// --- Memory of exceptions ---

// Stands before each thrown object:
//
//     | room, its end being the compiler's header | thrown object
//
// The header's size is the compiler's secret and differs between targets, all below
// this. It begins as zeros.
constexpr size_t kHeaderRoom = 256;

/// Blocks for exceptions that find the heap empty: as many as may be in flight at
/// once, and as large as the exceptions of the standard library need.
class SpareBlocks {
 public:
  static constexpr size_t kSize = 512;

  /// Null when all are taken.
  void* Take() noexcept {
    for (Block& block : blocks_)
      if (!block.isTaken.exchange(true)) return block.bytes;
    return nullptr;
  }

  /// False when it is none of these blocks.
  bool GiveBack(const void* bytes) noexcept {
    for (Block& block : blocks_) {
      if (block.bytes != bytes) continue;
      block.isTaken = false;
      return true;
    }
    return false;
  }

 private:
  struct Block {
    alignas(std::max_align_t) unsigned char bytes[kSize];
    std::atomic<bool> isTaken;
  };
  std::array<Block, 64> blocks_ = {};
};

constinit SpareBlocks spareBlocks;

void* TakeZeros(size_t size) noexcept {
  void* block = std::malloc(size);
  if (block == nullptr && size <= SpareBlocks::kSize) block = spareBlocks.Take();
  if (block == nullptr) std::terminate();
  return std::memset(block, 0, size);
}

void GiveBack(void* block) noexcept {
  if (!spareBlocks.GiveBack(block)) std::free(block);
}

// --- What a thread has in flight ---

/// The C++ ABI's record of one thread: the exceptions that it has caught and not yet
/// done with, and how many it has thrown and not yet caught.
struct ThreadRecord {
  void* caught;
  unsigned uncaught;
};

/// Records by thread id. A slot stays its thread's until the table is full; then
/// those of threads that have ended are given to others.
class ThreadRecords {
 public:
  ThreadRecord& OfThisThread() noexcept {
    const DWORD thread = ::GetCurrentThreadId();
    if (Slot* const slot = FindOrTake(thread)) return slot->record;
    if (Slot* const slot = TakeFromTheDead(thread)) return slot->record;
    std::terminate();
  }

 private:
  struct Slot {
    std::atomic<DWORD> thread;  // 0: nobody's yet
    ThreadRecord record;
  };

  Slot* FindOrTake(DWORD thread) noexcept {
    const size_t first = thread / 4;  // ids are multiples of four
    for (size_t i = 0; i < slots_.size(); ++i) {
      Slot& slot = slots_[(first + i) % slots_.size()];
      DWORD owner = slot.thread;
      if (owner == thread || (owner == 0 && slot.thread.compare_exchange_strong(owner, thread))) return &slot;
    }
    return nullptr;
  }

  Slot* TakeFromTheDead(DWORD thread) noexcept {
    for (Slot& slot : slots_) {
      DWORD owner = slot.thread;
      if (IsAlive(owner) || !slot.thread.compare_exchange_strong(owner, thread)) continue;
      slot.record = {};
      return &slot;
    }
    return nullptr;
  }

  // A thread that cannot be opened for any other reason than that there is none lives,
  // for all that is known.
  static bool IsAlive(DWORD thread) noexcept {
    const UniqueHandle handle(::OpenThread(SYNCHRONIZE, FALSE, thread));
    if (!handle) return ::GetLastError() != ERROR_INVALID_PARAMETER;
    return ::WaitForSingleObject(handle.Get(), 0) != WAIT_OBJECT_0;
  }

  std::array<Slot, 512> slots_ = {};
};

constinit ThreadRecords threadRecords;

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
  return reinterpret_cast<__cxa_eh_globals*>(&veskard::threadRecords.OfThisThread());
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
  return __cxa_get_globals();
}

}  // extern "C"
}  // namespace __cxxabiv1
