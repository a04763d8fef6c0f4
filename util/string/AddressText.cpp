#include "util/string/AddressText.h"

#include <algorithm>

#include "util/string/Digits.h"

namespace veskard {
namespace {

constexpr int kGroups = 8;

char* AppendNumber(char* at, unsigned number, unsigned base) noexcept {
  char digits[kMaxDigits];
  char* const end = digits + kMaxDigits;
  return std::copy(WriteDigits(end, number, base, kLowerDigits), end, at);
}

char* AppendDotted(char* at, const uint8_t* bytes) noexcept {
  for (int i = 0; i < 4; ++i) {
    if (i > 0) *at++ = '.';
    at = AppendNumber(at, bytes[i], 10);
  }
  return at;
}

struct ZeroRun {
  int begin = kGroups;
  int end = kGroups;
};

unsigned GroupOf(const NetworkAddress& address, int index) noexcept {
  const size_t at = static_cast<size_t>(index) * 2;
  return static_cast<unsigned>(address.bytes[at] << 8 | address.bytes[at + 1]);
}

// The run that "::" replaces; empty and past the last group when there is none.
ZeroRun LongestZeroRun(const NetworkAddress& address) noexcept {
  ZeroRun best;
  for (int begin = 0; begin < kGroups; ++begin) {
    int end = begin;
    while (end < kGroups && GroupOf(address, end) == 0) ++end;
    if (end - begin >= 2 && end - begin > best.end - best.begin) best = {begin, end};
  }
  return best;
}

bool MapsIpv4(const NetworkAddress& address) noexcept {
  const bool zeros =
      std::all_of(address.bytes.begin(), address.bytes.begin() + 10, [](uint8_t byte) { return byte == 0; });
  return zeros && GroupOf(address, 5) == 0xFFFF;
}

char* AppendIpv6(char* at, const NetworkAddress& address) noexcept {
  if (MapsIpv4(address)) {
    constexpr char kMapped[] = "::ffff:";
    return AppendDotted(std::copy(kMapped, kMapped + sizeof(kMapped) - 1, at), &address.bytes[12]);
  }
  const ZeroRun run = LongestZeroRun(address);
  for (int i = 0; i < kGroups; ++i) {
    if (i == run.begin) {
      *at++ = ':';
      *at++ = ':';
      i = run.end;
      if (i == kGroups) break;
    } else if (i > 0) {
      *at++ = ':';
    }
    at = AppendNumber(at, GroupOf(address, i), 16);
  }
  return at;
}

char* AppendAddress(char* at, const NetworkAddress& address) noexcept {
  return address.family == NetworkAddress::Family::kIpv6 ? AppendIpv6(at, address)
                                                         : AppendDotted(at, address.bytes.data());
}

}  // namespace

size_t WriteAddress(const NetworkAddress& address, char* text) noexcept {
  return static_cast<size_t>(AppendAddress(text, address) - text);
}

size_t WriteAddressAndPort(const NetworkAddress& address, char* text) noexcept {
  const bool isIpv6 = address.family == NetworkAddress::Family::kIpv6;
  char* at = text;
  if (isIpv6) *at++ = '[';
  at = AppendAddress(at, address);
  if (isIpv6) *at++ = ']';
  *at++ = ':';
  return static_cast<size_t>(AppendNumber(at, address.port, 10) - text);
}

NetworkAddress AddressFromHostOrder(uint32_t address) noexcept {
  NetworkAddress result;
  for (size_t i = 0; i < 4; ++i) result.bytes[i] = static_cast<uint8_t>(address >> (24 - 8 * i));
  return result;
}

}  // namespace veskard
