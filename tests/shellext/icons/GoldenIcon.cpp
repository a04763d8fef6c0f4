#include "tests/shellext/icons/GoldenIcon.h"

#include <cmath>
#include <numbers>

namespace veskard::test {
namespace {

constexpr uint32_t kDisc = 0x96FFFFFF, kRing = 0xFFB3B3B3, kArc = 0xFF00C3FF;

int Channel(uint32_t pixel, int index) {
  return static_cast<int>(pixel >> (8 * index) & 255);
}

uint32_t FromChannels(int alpha, int red, int green, int blue) {
  const auto wide = [](int channel) { return static_cast<uint32_t>(channel); };
  return wide(alpha) << 24 | wide(red) << 16 | wide(green) << 8 | wide(blue);
}

// A share of a length in hundredths of a percent, cut to whole pixels.
int Share(int length, int tenThousandths) {
  return length * tenThousandths / 10000;
}

// Degrees clockwise from three o'clock, from 0 up to 360.
double AngleOf(double x, double y) {
  const double angle = std::atan2(y, x) * 180 / std::numbers::pi;
  return angle < 0 ? angle + 360 : angle;
}

// A circle's band, or its whole disc when `inner` is negative.
struct Band {
  double centre;  // of both axes
  double inner;
  double outer;
};

enum class Cover { kNo, kYes, kDepends };

Cover Covers(const Band& band, double distance) {
  constexpr double kEdge = 1;
  if (std::abs(distance - band.outer) <= kEdge || std::abs(distance - band.inner) <= kEdge) {
    return Cover::kDepends;
  }
  return distance < band.outer && distance > band.inner ? Cover::kYes : Cover::kNo;
}

// Whether an arc that starts at -92 degrees reaches a point; its two ends are
// edges too, wider ones since they are slanted, also where they meet.
Cover ArcReaches(double angle, double distance, int progress) {
  if (progress == 0) return Cover::kNo;
  const double fromStart = std::fmod(angle + 92 + 360, 360);
  const double sweep = progress * 3.6;
  const double twoPixels = 360 / (std::numbers::pi * distance);  // in degrees
  const double nearest = std::min({fromStart, 360 - fromStart, std::abs(fromStart - sweep)});
  if (nearest <= twoPixels) return Cover::kDepends;
  return fromStart < sweep ? Cover::kYes : Cover::kNo;
}

Cover Both(Cover one, Cover other) {
  if (one == Cover::kNo || other == Cover::kNo) return Cover::kNo;
  return one == Cover::kYes && other == Cover::kYes ? Cover::kYes : Cover::kDepends;
}

bool AlmostEqual(uint32_t one, uint32_t other) {
  for (int i = 0; i < 4; ++i) {
    if (std::abs(Channel(one, i) - Channel(other, i)) > 1) return false;
  }
  return true;
}

}  // namespace

Picture WashedOutGolden(const Picture& picture) {
  return Paint(picture.width, picture.height, [&](int x, int y) {
    const uint32_t pixel = picture.At(x, y);
    const auto wash = [](int c) { return static_cast<int>(std::floor(c * 0.25 + 191.25)); };
    return FromChannels(Channel(pixel, 3), wash(Channel(pixel, 2)), wash(Channel(pixel, 1)),
                        wash(Channel(pixel, 0)));
  });
}

Picture DrawnBadge(int width, int height, int progress) {
  Gdiplus::Bitmap bitmap(width, height, PixelFormat32bppARGB);
  {
    Gdiplus::Graphics graphics(&bitmap);
    const int penWidth = Share(height, 625);
    const Gdiplus::SolidBrush disc{Gdiplus::Color(kDisc)};
    const Gdiplus::Pen ring(Gdiplus::Color(kRing), static_cast<float>(penWidth));
    const Gdiplus::Pen arc(Gdiplus::Color(kArc), static_cast<float>(penWidth) * 1.5f);
    const int discAt = Share(width, 1400), discSize = Share(height, 7000);
    const int ringAt = Share(width, 2100), ringSize = Share(height, 5600);
    graphics.FillEllipse(&disc, discAt, discAt, discSize, discSize);
    graphics.DrawEllipse(&ring, ringAt, ringAt, ringSize, ringSize);
    graphics.DrawArc(&arc, ringAt, ringAt, ringSize, ringSize, -92.0f, static_cast<float>(progress) * 3.6f);
  }
  return Paint(width, height, [&](int x, int y) {
    Gdiplus::Color colour;
    bitmap.GetPixel(x, y, &colour);
    return uint32_t{colour.GetValue()};
  });
}

std::optional<uint32_t> BadgeColourByGeometry(int width, int height, int progress, int x, int y) {
  const double pen = Share(height, 625);
  const double discRadius = Share(height, 7000) / 2.0, ringRadius = Share(height, 5600) / 2.0;
  const Band disc = {Share(width, 1400) + discRadius, -2, discRadius};
  const double middle = Share(width, 2100) + ringRadius;
  const Band ring = {middle, ringRadius - pen / 2, ringRadius + pen / 2};
  const Band arc = {middle, ringRadius - pen * 0.75, ringRadius + pen * 0.75};

  const double ringX = x - middle, ringY = y - middle;
  const double ringDistance = std::hypot(ringX, ringY);
  const Cover arcCover =
      Both(Covers(arc, ringDistance), ArcReaches(AngleOf(ringX, ringY), ringDistance, progress));
  const Cover ringCover = Covers(ring, ringDistance);
  const Cover discCover = Covers(disc, std::hypot(x - disc.centre, y - disc.centre));
  const std::pair<Cover, uint32_t> layers[] = {{arcCover, kArc}, {ringCover, kRing}, {discCover, kDisc}};
  for (const auto& [cover, colour] : layers) {
    if (cover == Cover::kDepends) return std::nullopt;
    if (cover == Cover::kYes) return colour;
  }
  return 0;
}

uint32_t Blend(uint32_t under, uint32_t over) {
  const double overAlpha = Channel(over, 3) / 255.0;
  const double underAlpha = Channel(under, 3) / 255.0 * (1 - overAlpha);
  const double alpha = overAlpha + underAlpha;
  if (overAlpha == 0) return under;
  const auto mix = [&](int index) {
    return static_cast<int>(
        std::lround((Channel(over, index) * overAlpha + Channel(under, index) * underAlpha) / alpha));
  };
  return FromChannels(static_cast<int>(std::lround(alpha * 255)), mix(2), mix(1), mix(0));
}

Golden GoldenIcon(const Picture& typeIcon, std::optional<int> progress) {
  const int width = typeIcon.width, height = typeIcon.height;
  const Picture badge = progress ? DrawnBadge(width, height, *progress) : Picture(width, height);
  Golden golden = {WashedOutGolden(typeIcon), std::vector<bool>(badge.pixels.size())};
  for (size_t i = 0; i < badge.pixels.size(); ++i) {
    const uint32_t alpha = badge.pixels[i] >> 24;
    golden.mixed[i] = alpha != 0 && alpha != 255;
    golden.picture.pixels[i] = Blend(golden.picture.pixels[i], badge.pixels[i]);
  }
  return golden;
}

::testing::AssertionResult LooksLike(const Picture& actual, const Golden& expected) {
  const Picture& picture = expected.picture;
  if (actual.width != picture.width || actual.height != picture.height) {
    return ::testing::AssertionFailure() << actual.width << " x " << actual.height << " pixels instead of "
                                         << picture.width << " x " << picture.height;
  }
  for (size_t i = 0; i < picture.pixels.size(); ++i) {
    const uint32_t is = actual.pixels[i], shouldBe = picture.pixels[i];
    if (is == shouldBe || (expected.mixed[i] && AlmostEqual(is, shouldBe))) continue;
    const size_t width = static_cast<size_t>(picture.width);
    return ::testing::AssertionFailure() << "pixel (" << i % width << ", " << i / width << ") is " << std::hex
                                         << is << " instead of " << shouldBe;
  }
  return ::testing::AssertionSuccess();
}

}  // namespace veskard::test
