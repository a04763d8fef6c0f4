// Common definitions and the library's assertion.
#pragma once

#include <cstdint>

namespace veskard {

/// The build code that every assertion message ends with.
inline constexpr int kAssertionBuildCode = 34013186;

/// Writes "\nassert failed UNIT:LINE (34013186)\n" to the standard error stream
/// and stops the process deliberately, by a write through a null pointer, so
/// that a crash report points at the caller. UNIT names a source unit in the
/// library's own way (`fs\util\Handle`), LINE is a line or a number of the unit's own.
[[noreturn]] void AssertionFailed(const char* unit, int line) noexcept;

}  // namespace veskard
