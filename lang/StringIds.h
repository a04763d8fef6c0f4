// The numbers of the user-visible texts.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veskard {

/// Texts have the numbers from 0 to kStringCount - 1.
inline constexpr size_t kStringCount = 309;

/// The texts that this library itself uses.
enum class StringId : uint32_t {
  kUnitBytes = 0,
  kUnitExa = 1,
  kUnitGiga = 2,
  kUnitKilo = 3,
  kUnitMega = 4,
  kUnitPeta = 5,
  kUnitTera = 6,
  kCancelReceiving = 259,
  kRemoveFromAllDevices = 260,
  kRemoveFromThisDevice = 261,
  kShareWith = 262,
  kSyncToThisDevice = 263,
};

}  // namespace veskard
