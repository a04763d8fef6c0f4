// Poison: marks parts of our own blocks as inaccessible for the address sanitizer; does
// nothing in builds without it.
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESKARD_CAN_POISON 1
#include <sanitizer/asan_interface.h>
#endif
#endif

namespace veskard {

#ifdef VESKARD_CAN_POISON
inline constexpr bool kCanPoison = true;
inline void Poison(const void* begin, size_t size) noexcept {
  __asan_poison_memory_region(begin, size);
}
inline void Unpoison(const void* begin, size_t size) noexcept {
  __asan_unpoison_memory_region(begin, size);
}
#else
inline constexpr bool kCanPoison = false;
inline void Poison(const void*, size_t) noexcept {}
inline void Unpoison(const void*, size_t) noexcept {}
#endif

}  // namespace veskard
