// The system's clock.
#pragma once

#include <cstdint>

namespace veskard {

/// The system counts time in ticks of 100 nanoseconds since 1601.
inline constexpr uint64_t kTicksPerSecond = 10'000'000;
inline constexpr uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

/// Whole seconds since 1970; 0 for a clock set before that.
uint64_t SecondsSince1970() noexcept;

}  // namespace veskard
