// GoldenIcon: what a composed icon must look like, computed pixel by pixel from
// the rules of composition and with nothing of the library's own.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TestIcons.h"

namespace veskard::test {

/// Red, green and blue c become the integer part of c × 0.25 + 191.25.
Picture WashedOutGolden(const Picture& picture);

/// The badge as GDI+ draws it when asked, in literal numbers, for the shapes that
/// a badge of this size consists of.
Picture DrawnBadge(int width, int height, int progress);

/// The badge's colour at a pixel by plain geometry: which of the disc, the ring and
/// the arc cover it. None within a pixel of an edge, where that depends on the
/// rasteriser.
std::optional<uint32_t> BadgeColourByGeometry(int width, int height, int progress, int x, int y);

/// `over` blended onto `under`, both with straight alpha.
uint32_t Blend(uint32_t under, uint32_t over);

/// A picture, and where it is a mixture of two see-through colours.
struct Golden {
  Picture picture;
  std::vector<bool> mixed;
};

/// The icon for a type whose own icon is `typeIcon`: washed out, with the badge of
/// `progress` over it or, without a progress, with none.
Golden GoldenIcon(const Picture& typeIcon, std::optional<int> progress);

/// Equal to the last bit; only where colours are mixed each channel may differ by
/// one, because GDI+ may round there. Reports the first difference.
::testing::AssertionResult LooksLike(const Picture& actual, const Golden& expected);

}  // namespace veskard::test
