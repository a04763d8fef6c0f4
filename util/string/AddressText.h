// AddressText: network addresses as text. Computed here, so that no host process has to
// load the system's network library.
#pragma once

#include <cstddef>

#include "util/string/NetworkAddress.h"

namespace veskard {

/// More than the longest text, "[ffff:...:ffff]:65535", has characters.
inline constexpr size_t kMaxAddressText = 64;

/// Writes an address without its port and returns the length (no terminator):
/// IPv4 as "192.0.2.1"; IPv6 in lower case, with the longest run of at least two
/// zero groups (the first of equals) as "::", addresses that map IPv4 as
/// "::ffff:192.0.2.1".
size_t WriteAddress(const NetworkAddress& address, char* text) noexcept;

/// The same with the port: "192.0.2.1:443", "[2001:db8::1]:443".
size_t WriteAddressAndPort(const NetworkAddress& address, char* text) noexcept;

/// A 32-bit IPv4 address in host byte order: 0x7F000001 is "127.0.0.1".
NetworkAddress AddressFromHostOrder(uint32_t address) noexcept;

}  // namespace veskard
