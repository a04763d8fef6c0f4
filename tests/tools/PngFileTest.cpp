#include "tools/shellprobe/PngFile.h"

#include <gtest/gtest.h>

#include "tests/support/PngReader.h"
#include "tests/support/ScratchFolder.h"
#include "tools/common/ToolError.h"

namespace veskard {
namespace {

TEST(PngFileTest, PicturesComeBackPixelByPixel) {
  const test::ScratchFolder folder;
  const Picture picture = {3, 2, {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0x80FFFFFF, 0x00000000, 0xFF123456}};
  SavePng(picture, folder / L"p.png");
  const Picture back = test::LoadPng(folder / L"p.png");
  EXPECT_EQ(back.width, 3);
  EXPECT_EQ(back.height, 2);
  EXPECT_EQ(back.pixels, picture.pixels);
}

TEST(PngFileTest, AFolderThatIsNotThereIsAnError) {
  const test::ScratchFolder folder;
  EXPECT_THROW(SavePng({1, 1, {0}}, folder / L"missing\\p.png"), ToolError);
}

}  // namespace
}  // namespace veskard
