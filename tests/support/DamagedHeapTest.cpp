// A test that writes a byte behind a block: with the heap checks on it must fail.
// Registered as a test that must fail.
#include <gtest/gtest.h>

#include <cstdlib>

namespace veskard {
namespace {

TEST(DamagedHeapTest, WritesBehindABlock) {
  constexpr size_t kSize = 20;
  auto* const block = static_cast<volatile char*>(std::malloc(kSize));
  const volatile size_t behind = kSize;
  block[behind] = 'x';
  std::free(const_cast<char*>(block));
}

}  // namespace
}  // namespace veskard
