#include "tests/shellext/icons/TestPatterns.h"

#include <cstdlib>

namespace veskard::test {

Picture SeeThroughPattern(int size) {
  return Paint(size, size, [size](int x, int y) {
    const uint32_t n = static_cast<uint32_t>(y * size + x);
    return (n * 37 + n / 256) % 256 << 24 | n * 7 % 256 << 16 | (n * 13 + 5) % 256 << 8 | (n * 29 + 11) % 256;
  });
}

Picture SolidPattern(int size) {
  return Paint(size, size, [size](int x, int y) {
    const bool inMiddle = std::abs(2 * x - size) < size / 4 && std::abs(2 * y - size) < size / 4;
    if (inMiddle || x + y < size / 4) return 0u;
    const uint32_t red = static_cast<uint32_t>(x * 255 / size), green = static_cast<uint32_t>(y * 255 / size);
    return 0xFF000000u | red << 16 | green << 8 | 0x40u;
  });
}

Picture DrawnOnEmpty(Picture picture) {
  for (uint32_t& pixel : picture.pixels) {
    if (pixel >> 24 == 0) pixel = 0;
  }
  return picture;
}

}  // namespace veskard::test
