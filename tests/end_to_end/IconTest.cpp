// Placeholder icons through COM.
#include "tests/end_to_end/RightClickTest.h"
#include "tools/common/ToolError.h"
#include "tools/shellprobe/ExtractedIcons.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard::test {
namespace {

class IconTest : public RightClickTest {};

TEST_F(IconTest, APlaceholderHasALargeAndASmallIcon) {
  Root();
  const PlaceholderIcons icons =
      ExtractPlaceholderIcons(ExtensionClasses(), Placeholder(L"Root\\a.txt.ghpl", 45));
  const Picture large = IconPixels(icons.large.Get());
  const Picture small = IconPixels(icons.small.Get());
  EXPECT_GT(large.width, small.width);
  EXPECT_EQ(small.width, ::GetSystemMetrics(SM_CXSMICON));
}

TEST_F(IconTest, ProgressCanBeSeen) {
  Root();
  const auto pixels = [&](const std::wstring& file) {
    return IconPixels(ExtractPlaceholderIcons(ExtensionClasses(), file).large.Get()).pixels;
  };
  const std::vector<uint32_t> without = pixels(Placeholder(L"Root\\a.txt.ghpl"));
  const std::vector<uint32_t> started = pixels(Placeholder(L"Root\\b.txt.ghpl", 5));
  const std::vector<uint32_t> half = pixels(Placeholder(L"Root\\c.txt.ghpl", 50));
  EXPECT_NE(without, started);
  EXPECT_NE(started, half);
  EXPECT_EQ(half, pixels(Placeholder(L"Root\\d.txt.ghpl", 52)));
}

TEST_F(IconTest, OtherFilesHaveNone) {
  try {
    ExtractPlaceholderIcons(ExtensionClasses(), File(L"a.ghpl.txt"));
    FAIL() << "an icon came";
  } catch (const ToolError& error) {
    EXPECT_EQ(error.Code(), kNoIcon);
  }
}

}  // namespace
}  // namespace veskard::test
