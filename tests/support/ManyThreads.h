// The number of threads in a test with many of them.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>

namespace veskard::test {

/// Two thousand; some five hundred where the address space has no room for more stacks and
/// the system's data of each thread.
inline int ManyThreads() noexcept {
  constexpr uintptr_t kMost = 2000, kRoomForEach = 4 * 1024 * 1024;
  SYSTEM_INFO system = {};
  ::GetSystemInfo(&system);
  const auto room = reinterpret_cast<uintptr_t>(system.lpMaximumApplicationAddress);
  return static_cast<int>(std::min(kMost, room / kRoomForEach));
}

}  // namespace veskard::test
