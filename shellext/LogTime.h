// The time stamps of the log.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// A second in local time as the log writes it. Only whole seconds are kept,
/// so the milliseconds are always "000". Throws std::bad_alloc only.
std::string LogTimestamp(uint64_t secondsSince1970);

}  // namespace veskard
