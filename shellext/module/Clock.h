// The only reader of the system's clock, and the log's time stamp.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// The system counts time in ticks of 100 nanoseconds since 1601.
inline constexpr uint64_t kTicksPerSecond = 10'000'000;
inline constexpr uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

/// Whole seconds since 1970; 0 for a clock set before that.
uint64_t SecondsSince1970() noexcept;

/// A second in local time as the log writes it: "2026-11-15 23:04:05.000". Only whole
/// seconds are kept, so the milliseconds are always "000". Throws std::bad_alloc only.
std::string LogTimestamp(uint64_t secondsSince1970);

}  // namespace veskard
