#include "tests/support/LibraryHeap.h"

#include <atomic>
#include <cstdlib>

namespace veskard::test {
namespace {

std::atomic<ptrdiff_t> liveBlocks;
thread_local size_t requestsUntilFailure = 0;  // 0: none fails
thread_local bool failed = false;

bool Refused() noexcept {
  if (requestsUntilFailure == 0 || --requestsUntilFailure != 0) return false;
  failed = true;
  return true;
}

void* Counted(void* block) noexcept {
  if (block != nullptr) ++liveBlocks;
  return block;
}

void* __cdecl CountedMalloc(size_t size) {
  return Refused() ? nullptr : Counted(std::malloc(size));
}

void* __cdecl CountedCalloc(size_t count, size_t size) {
  return Refused() ? nullptr : Counted(std::calloc(count, size));
}

void* __cdecl CountedRealloc(void* old, size_t size) {
  if (Refused()) return nullptr;
  void* const block = std::realloc(old, size);
  if (old == nullptr && block != nullptr) ++liveBlocks;
  return block;
}

void __cdecl CountedFree(void* block) {
  if (block != nullptr) --liveBlocks;
  std::free(block);
}

}  // namespace

LibraryHeap::LibraryHeap(HMODULE library)
    : malloc_(library, "malloc", reinterpret_cast<void*>(&CountedMalloc)),
      calloc_(library, "calloc", reinterpret_cast<void*>(&CountedCalloc)),
      realloc_(library, "realloc", reinterpret_cast<void*>(&CountedRealloc)),
      free_(library, "free", reinterpret_cast<void*>(&CountedFree)) {
  liveBlocks = 0;
  FailRequest(0);
}

ptrdiff_t LibraryHeap::LiveBlocks() noexcept {
  return liveBlocks;
}

void LibraryHeap::FailRequest(size_t number) noexcept {
  failed = false;
  requestsUntilFailure = number;
}

bool LibraryHeap::HasFailed() noexcept {
  return failed;
}

}  // namespace veskard::test
