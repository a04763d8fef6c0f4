// What the drawn menu of Windows 11 looks like, by its pixels.
#include "tools/shellprobe/MenuPanel.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace veskard::test {
namespace {

using Rows = std::vector<PanelRow>;

uint32_t At(const Picture& picture, int x, int y) {
  return picture.pixels[static_cast<size_t>(y) * static_cast<size_t>(picture.width) + static_cast<size_t>(x)];
}

/// How many pixels have that colour and are not transparent.
std::ptrdiff_t CountOf(const Picture& picture, uint32_t rgb) {
  return std::count(picture.pixels.begin(), picture.pixels.end(), rgb | 0xFF000000);
}

/// An opaque square of one colour, as large as icons are.
Picture Square(uint32_t rgb) {
  const int size = PanelIconSize();
  return {size, size, std::vector<uint32_t>(static_cast<size_t>(size * size), rgb | 0xFF000000)};
}

PanelRow Row(const wchar_t* text) {
  return {.text = text, .icon = {}};
}

constexpr uint32_t kRed = 0xFF0000;

TEST(MenuPanelTest, TheGroundIsOpaqueAndTheCornersAreNot) {
  for (const PanelColours& colours : {kLightPanel, kDarkPanel}) {
    const Picture picture = DrawPanels({Row(L"Open"), Row(L"Properties")}, {}, colours);
    EXPECT_EQ(At(picture, 0, 0) >> 24, 0u);
    EXPECT_EQ(At(picture, picture.width - 1, picture.height - 1) >> 24, 0u);
    EXPECT_EQ(At(picture, 10, picture.height / 2), colours.ground | 0xFF000000);
    EXPECT_GT(CountOf(picture, colours.text), 0);
  }
}

TEST(MenuPanelTest, AnIconIsShownAndAGreyedOneIsPaler) {
  const PanelRow row = {.text = L"Cancel receiving", .icon = Square(kRed)};
  PanelRow greyed = row;
  greyed.isGreyed = true;
  const std::ptrdiff_t size = PanelIconSize();
  const Picture enabledPicture = DrawPanels({row}, {}, kLightPanel);
  EXPECT_EQ(CountOf(enabledPicture, kRed), size * size);
  EXPECT_EQ(CountOf(enabledPicture, kLightPanel.greyed), 0);
  const Picture greyedPicture = DrawPanels({greyed}, {}, kLightPanel);
  EXPECT_EQ(CountOf(greyedPicture, kRed), 0);
  EXPECT_EQ(CountOf(greyedPicture, kLightPanel.text), 0);
  EXPECT_GT(CountOf(greyedPicture, kLightPanel.greyed), 0);
}

TEST(MenuPanelTest, ATransparentIconShowsTheGround) {
  Picture icon = Square(kRed);
  for (uint32_t& pixel : icon.pixels) pixel &= 0xFFFFFF;
  const Picture picture = DrawPanels({{.text = L"Open", .icon = icon}}, {}, kDarkPanel);
  EXPECT_EQ(CountOf(picture, kRed), 0);
}

TEST(MenuPanelTest, TheFlyOutStandsBesideItsRow) {
  PanelRow open = Row(L"Nimbrel Veskard Agent");
  open.isOpen = true;
  open.leadsOn = true;
  const Rows menu = {Row(L"Open"), PanelRow(), open};
  const Rows children = {{.text = L"Sync to this device", .icon = Square(kRed)}};
  const Picture alone = DrawPanels(menu, {}, kLightPanel);
  const Picture both = DrawPanels(menu, children, kLightPanel);
  EXPECT_GT(both.width, alone.width);
  EXPECT_GT(CountOf(both, kLightPanel.open), 0);
  // Right of the menu: nothing beside its first row, the child's icon beside the last.
  EXPECT_EQ(At(both, both.width - 20, 4) >> 24, 0u);
  const auto first = std::find(both.pixels.begin(), both.pixels.end(), kRed | 0xFF000000);
  ASSERT_NE(first, both.pixels.end());
  const int place = static_cast<int>(first - both.pixels.begin());
  EXPECT_GT(place % both.width, alone.width);
  EXPECT_GT(place / both.width, alone.height / 2);
}

TEST(MenuPanelTest, TheWidestTextDecidesTheWidth) {
  const Picture narrow = DrawPanels({Row(L"Open")}, {}, kLightPanel);
  const Picture wide = DrawPanels({Row(L"Open"), Row(L"A much longer command")}, {}, kLightPanel);
  EXPECT_GT(wide.width, narrow.width);
  EXPECT_GT(wide.height, narrow.height);
}

}  // namespace
}  // namespace veskard::test
