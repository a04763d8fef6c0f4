#include "fuzz/FuzzArena.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/Poison.h"
#include "fuzz/Require.h"
#include "util/string/HeapBlock.h"

namespace veskard::fuzz {
namespace {

constexpr size_t kArenaSize = size_t{8} << 20;
constexpr size_t kZone = 16;  // poisoned, in front of every block

alignas(kZone) char arena[kArenaSize];
size_t used = 0;
size_t live = 0;
bool executing = false;

// The sizes of the blocks, by where they begin.
uint32_t sizes[kArenaSize / kZone];

bool IsInArena(const void* block) noexcept {
  return block >= static_cast<const void*>(arena) && block < static_cast<const void*>(arena + kArenaSize);
}

uint32_t& SizeOf(const void* block) noexcept {
  return sizes[static_cast<size_t>(static_cast<const char*>(block) - arena) / kZone];
}

void* TakeFromArena(size_t size) noexcept {
  const size_t rounded = (size + kZone - 1) / kZone * kZone;
  if (rounded > kArenaSize - used - kZone) return nullptr;
  char* const block = arena + used + kZone;
  used += kZone + rounded;
  ++live;
  SizeOf(block) = static_cast<uint32_t>(size);
  Unpoison(block, size);
  return block;
}

constexpr uint32_t kFreed = 0xFFFFFFFF;

void Free(void* block) noexcept {
  if (!IsInArena(block)) {
    std::free(block);
    return;
  }
  uint32_t& size = SizeOf(block);
  VESKARD_REQUIRE(size != kFreed);
  Poison(block, size);
  size = kFreed;
  --live;
}

void* Take(size_t size) noexcept {
  return executing ? TakeFromArena(size) : std::malloc(size == 0 ? 1 : size);
}

void* TakeOrThrow(size_t size) {
  if (void* const block = Take(size)) return block;
  throw std::bad_alloc();
}

}  // namespace

Execution::Execution() noexcept {
  static const bool isPrepared = [] {
    Poison(arena, kArenaSize);
    return true;
  }();
  executing = isPrepared;
}

Execution::~Execution() {
  executing = false;
  VESKARD_REQUIRE(live == 0);
  used = 0;
}

}  // namespace veskard::fuzz

void* operator new(size_t size) {
  return veskard::fuzz::TakeOrThrow(size);
}
void* operator new[](size_t size) {
  return veskard::fuzz::TakeOrThrow(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return veskard::fuzz::Take(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return veskard::fuzz::Take(size);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  veskard::fuzz::Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  veskard::fuzz::Free(block);
}
void operator delete(void* block) noexcept {
  veskard::fuzz::Free(block);
}
void operator delete[](void* block) noexcept {
  veskard::fuzz::Free(block);
}
void operator delete(void* block, size_t) noexcept {
  veskard::fuzz::Free(block);
}
void operator delete[](void* block, size_t) noexcept {
  veskard::fuzz::Free(block);
}

namespace veskard {

void* ResizeHeapBlock(void* block, size_t size) noexcept {
  if (block != nullptr && !fuzz::IsInArena(block)) return std::realloc(block, size);
  void* const bigger = fuzz::Take(size);
  if (bigger == nullptr || block == nullptr) return bigger;
  const size_t before = fuzz::SizeOf(block);
  std::memcpy(bigger, block, before < size ? before : size);
  fuzz::Free(block);
  return bigger;
}

void FreeHeapBlock(void* block) noexcept {
  fuzz::Free(block);
}

}  // namespace veskard
