// NetworkAddress: what the conversions "a", "A" and "V" print.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace veskard {

/// An IPv4 or IPv6 address and a port.
///
///     bytes (16)                                    port (2, host order)
///     network order; IPv4 uses the first four       family (1)
struct NetworkAddress {
  enum class Family : uint8_t { kIpv4, kIpv6 };

  std::array<uint8_t, 16> bytes{};
  uint16_t port = 0;
  Family family = Family::kIpv4;
};

using NetworkAddressList = std::vector<NetworkAddress>;

}  // namespace veskard
