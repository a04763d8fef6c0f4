#include <cstdint>
#include <random>

#ifndef _WIN32
#include <arpa/inet.h>
#endif

#include "tests/util/string/FormatTesting.h"
#include "util/string/AddressText.h"

namespace veskard {
namespace {

NetworkAddress Ipv4(uint8_t a, uint8_t b, uint8_t c, uint8_t d, uint16_t port = 0) {
  NetworkAddress address;
  address.bytes = {a, b, c, d};
  address.port = port;
  return address;
}

NetworkAddress Ipv6(std::array<uint16_t, 8> groups, uint16_t port = 0) {
  NetworkAddress address;
  address.family = NetworkAddress::Family::kIpv6;
  for (size_t i = 0; i < 8; ++i) {
    address.bytes[2 * i] = static_cast<uint8_t>(groups[i] >> 8);
    address.bytes[2 * i + 1] = static_cast<uint8_t>(groups[i]);
  }
  address.port = port;
  return address;
}

template <class Char>
class FormatAddressTest : public test::FormatTest<Char> {};
TYPED_TEST_SUITE(FormatAddressTest, test::Widths, test::WidthNames);

TYPED_TEST(FormatAddressTest, PrintsAnAddress) {
  const NetworkAddress four = Ipv4(192, 0, 2, 1, 443);
  const NetworkAddress six = Ipv6({0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}, 443);
  EXPECT_EQ(this->Print("%a %a", &four, &six), "192.0.2.1 2001:db8::1");
  EXPECT_EQ(this->Print("%12a|%-12a|", &four, &four), "   192.0.2.1|192.0.2.1   |");
}

TYPED_TEST(FormatAddressTest, PrintsAnAddressWithItsPort) {
  const NetworkAddress four = Ipv4(192, 0, 2, 1, 443);
  const NetworkAddress six = Ipv6({0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}, 65535);
  EXPECT_EQ(this->Print("%A %A", &four, &six), "192.0.2.1:443 [2001:db8::1]:65535");
}

TYPED_TEST(FormatAddressTest, PrintsAListOfAddresses) {
  const NetworkAddressList list = {Ipv4(10, 0, 0, 1, 80), Ipv6({0, 0, 0, 0, 0, 0, 0, 1}, 8080),
                                   Ipv4(1, 2, 3, 4, 5)};
  EXPECT_EQ(this->Print("%V", &list), "10.0.0.1:80,[::1]:8080,1.2.3.4:5");
  EXPECT_EQ(this->Print("%11V|", &list), "10.0.0.1:80, [::1]:8080,  1.2.3.4:5|") << "each of them";
  const NetworkAddressList empty;
  EXPECT_EQ(this->Print("[%V]", &empty), "[]");
}

TYPED_TEST(FormatAddressTest, PrintsAnIntegerInHostOrder) {
  EXPECT_EQ(this->Print("%I", 0x7F000001), "127.0.0.1");
  EXPECT_EQ(this->Print("%I", 0xC0000201u), "192.0.2.1");
  EXPECT_EQ(this->Print("%I %I", -1, 0), "255.255.255.255 0.0.0.0");
  EXPECT_EQ(this->Print("%I"), "0.0.0.0");
  EXPECT_EQ(this->Print("%11I|", 0x7F000001), "  127.0.0.1|");
}

TYPED_TEST(FormatAddressTest, MarksWhatIsNoAddress) {
  EXPECT_EQ(this->Print("%a %A %V", nullptr, nullptr, nullptr), "<NULL> <NULL> <NULL>");
  EXPECT_EQ(this->Print("%a %A %V"), "<NULL> <NULL> <NULL>");
  const NetworkAddress four = Ipv4(1, 2, 3, 4);
  const NetworkAddressList list = {four};
  EXPECT_EQ(this->Print("%a %A %V", &list, 5, &four), "<ERROR> <ERROR> <ERROR>");
  const auto* const noAddress = reinterpret_cast<const NetworkAddress*>(uintptr_t{5});
  const auto* const noList = reinterpret_cast<const NetworkAddressList*>(uintptr_t{5});
  EXPECT_EQ(this->Print("%a %A %V", noAddress, noAddress, noList), "<ERROR> <ERROR> <ERROR>");
}

std::string TextOf(const NetworkAddress& address) {
  char text[kMaxAddressText];
  return std::string(text, WriteAddress(address, text));
}

TEST(AddressTextTest, ShortensTheLongestRunOfZeros) {
  EXPECT_EQ(TextOf(Ipv6({0, 0, 0, 0, 0, 0, 0, 0})), "::");
  EXPECT_EQ(TextOf(Ipv6({1, 0, 0, 0, 0, 0, 0, 0})), "1::");
  EXPECT_EQ(TextOf(Ipv6({0, 0, 0, 0, 0, 0, 0, 1})), "::1");
  EXPECT_EQ(TextOf(Ipv6({1, 0, 0, 2, 0, 0, 0, 3})), "1:0:0:2::3");
  EXPECT_EQ(TextOf(Ipv6({1, 0, 0, 2, 3, 0, 0, 4})), "1::2:3:0:0:4") << "the first of equals";
  EXPECT_EQ(TextOf(Ipv6({1, 0, 2, 3, 4, 5, 6, 7})), "1:0:2:3:4:5:6:7") << "a single group stays";
  EXPECT_EQ(TextOf(Ipv6({0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff})),
            "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
}

TEST(AddressTextTest, ShowsAMappedAddressDotted) {
  EXPECT_EQ(TextOf(Ipv6({0, 0, 0, 0, 0, 0xffff, 0xc000, 0x0201})), "::ffff:192.0.2.1");
}

#ifndef _WIN32
TEST(AddressTextTest, AgreesWithTheSystem) {
  std::mt19937 random(2026);
  for (int i = 0; i < 5000; ++i) {
    NetworkAddress address;
    const bool isIpv6 = i % 2 == 0;
    address.family = isIpv6 ? NetworkAddress::Family::kIpv6 : NetworkAddress::Family::kIpv4;
    for (uint8_t& byte : address.bytes) byte = static_cast<uint8_t>(random() % 4 == 0 ? random() : 0);
    // The system shows addresses of the old compatible form (::a.b.c.d) dotted too.
    if (isIpv6) address.bytes[0] |= 1;
    char expected[INET6_ADDRSTRLEN];
    ASSERT_NE(inet_ntop(isIpv6 ? AF_INET6 : AF_INET, address.bytes.data(), expected, sizeof(expected)),
              nullptr);
    ASSERT_EQ(TextOf(address), expected);
  }
}
#endif

}  // namespace
}  // namespace veskard
