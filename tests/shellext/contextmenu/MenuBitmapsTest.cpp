#include "shellext/contextmenu/MenuBitmaps.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "core/ModuleHandle.h"
#include "shellext/module/GdiplusUser.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/SyncTree.h"
#include "tests/support/TestIcons.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

const SIZE kCheckSize = {::GetSystemMetrics(SM_CXMENUCHECK), ::GetSystemMetrics(SM_CYMENUCHECK)};

// The pixels as the menu draws them: 32 bits, alpha in the high byte.
test::Picture PixelsOfBitmap(HBITMAP bitmap) {
  BITMAP shape = {};
  ::GetObjectW(bitmap, sizeof(shape), &shape);
  test::Picture picture(shape.bmWidth, shape.bmHeight);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = shape.bmWidth;
  info.bmiHeader.biHeight = -shape.bmHeight;  // from the top
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  const UniqueMemoryDc dc(::CreateCompatibleDC(nullptr));
  ::GetDIBits(dc.Get(), bitmap, 0, static_cast<UINT>(shape.bmHeight), picture.pixels.data(), &info,
              DIB_RGB_COLORS);
  return picture;
}

class MenuBitmapsTest : public testing::Test {
 protected:
  GdiplusUser gdiplus_;
};

TEST_F(MenuBitmapsTest, ThereIsOneBitmapOfTheCheckMarksSizeForEachIcon) {
  const std::vector<UniqueBitmap> bitmaps = LoadMenuBitmaps();
  ASSERT_EQ(bitmaps.size(), kMenuIcons.size());
  for (const UniqueBitmap& bitmap : bitmaps) {
    ASSERT_TRUE(bitmap);
    BITMAP shape = {};
    ASSERT_NE(::GetObjectW(bitmap.Get(), sizeof(shape), &shape), 0);
    EXPECT_EQ(shape.bmWidth, kCheckSize.cx);
    EXPECT_EQ(shape.bmHeight, kCheckSize.cy);
    EXPECT_EQ(shape.bmBitsPixel, 32);
  }
}

TEST_F(MenuBitmapsTest, TheBitmapsDifferFromOneAnother) {
  std::set<std::vector<uint32_t>> pictures;
  for (const UniqueBitmap& bitmap : LoadMenuBitmaps()) pictures.insert(PixelsOfBitmap(bitmap.Get()).pixels);
  EXPECT_EQ(pictures.size(), kMenuIcons.size());
}

// Black squares in menus come from bitmaps that lost their alpha.
TEST_F(MenuBitmapsTest, TheCornersAreTransparentAndSomethingIsDrawn) {
  for (const UniqueBitmap& bitmap : LoadMenuBitmaps()) {
    const test::Picture picture = PixelsOfBitmap(bitmap.Get());
    EXPECT_EQ(picture.At(0, 0) >> 24, 0u);
    size_t opaque = 0;
    for (const uint32_t pixel : picture.pixels) opaque += (pixel >> 24) == 255 ? 1 : 0;
    EXPECT_GT(opaque, picture.pixels.size() / 20);
  }
}

TEST_F(MenuBitmapsTest, AnIconOfTheRightSizeIsCopiedPixelForPixel) {
  const test::Picture drawn = test::Paint(kCheckSize.cx, kCheckSize.cy,
                                          [](int x, int y) { return (x + y) % 2 == 0 ? 0xFF204060u : 0u; });
  const UniqueIcon icon = test::IconOf(drawn);
  EXPECT_EQ(PixelsOfBitmap(DrawMenuBitmap(icon.Get(), kCheckSize).Get()), drawn);
}

TEST_F(MenuBitmapsTest, AnIconOfAnotherSizeIsScaled) {
  const UniqueIcon icon = test::IconOf(test::Paint(64, 64, [](int, int) { return 0xFF00C3FFu; }));
  const test::Picture picture = PixelsOfBitmap(DrawMenuBitmap(icon.Get(), kCheckSize).Get());
  EXPECT_EQ(picture.width, kCheckSize.cx);
  EXPECT_EQ(picture.At(kCheckSize.cx / 2, kCheckSize.cy / 2), 0xFF00C3FFu);
}

TEST_F(MenuBitmapsTest, NoIconGivesNoBitmap) {
  EXPECT_FALSE(DrawMenuBitmap(nullptr, kCheckSize));
}

TEST_F(MenuBitmapsTest, AStepThatGdiplusRefusesLeavesTheEntryEmptyAndNothingBehind) {
  const UniqueIcon icon = test::IconOf(test::Paint(16, 16, [](int, int) { return 0xFF00C3FFu; }));
  const size_t before = test::CountGdiHandles();
  for (const char* step :
       {"GdipCreateBitmapFromHBITMAP", "GdipCreateBitmapFromScan0", "GdipGetImagePixelFormat",
        "GdipGetImageGraphicsContext", "GdipDrawImageRectI", "GdipCreateHBITMAPFromBitmap"}) {
    const test::FailingCall refusal(step);
    EXPECT_FALSE(DrawMenuBitmap(icon.Get(), kCheckSize)) << step;
    EXPECT_TRUE(refusal.Happened()) << step;
  }
  EXPECT_EQ(test::CountGdiHandles(), before);
}

TEST_F(MenuBitmapsTest, AMissingResourceGivesNoIcon) {
  EXPECT_FALSE(LoadMenuIcon({L"menu_missing.ico", 999}, ::GetModuleHandleW(nullptr), kCheckSize));
}

// The type with which the file is asked for loads nothing: an icon file beside
// the library has no effect.
TEST_F(MenuBitmapsTest, AFileBesideTheModuleIsNotLoaded) {
  const std::wstring file = PathBesideModule(ReadModulePath(nullptr), L"menu_sync.ico");
  // A whole icon of 1 by 1 pixel, 32 bits: it would load with the right type.
  constexpr unsigned char kIcon[] = {
      0,   0, 1, 0,   1, 0,                                                // directory: one icon
      1,   1, 0, 0,   1, 0, 32, 0, 48, 0, 0, 0, 22, 0, 0,  0,              // its entry
      40,  0, 0, 0,   1, 0, 0,  0, 2,  0, 0, 0, 1,  0, 32, 0, 0, 0, 0, 0,  // bitmap header
      8,   0, 0, 0,   0, 0, 0,  0, 0,  0, 0, 0, 0,  0, 0,  0, 0, 0, 0, 0,  //
      255, 0, 0, 255,                                                      // the pixel
      0,   0, 0, 0,                                                        // the mask
  };
  {
    const UniqueFile out(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(out.Get(), kIcon, sizeof(kIcon), &written, nullptr));
  }
  EXPECT_TRUE(UniqueIcon(static_cast<HICON>(
      ::LoadImageW(nullptr, file.c_str(), IMAGE_ICON, kCheckSize.cx, kCheckSize.cy, LR_LOADFROMFILE))));
  EXPECT_FALSE(LoadMenuIcon({L"menu_sync.ico", 999}, ::GetModuleHandleW(nullptr), kCheckSize));
  ::DeleteFileW(file.c_str());
}

// A system whose check marks are higher than they are wide.
int WINAPI MetricsOfHighCheckMarks(int index) {
  return index == 71 ? 20 : index == 72 ? 24 : 0;
}

struct ImageRequest {
  HINSTANCE module;
  std::wstring name;  // "#110" for a resource's number
  UINT type;
  int width;
  int height;
  UINT flags;
  bool operator==(const ImageRequest&) const = default;
};
void PrintTo(const ImageRequest& request, std::ostream* out) {
  *out << (request.module == nullptr ? "no module, " : "a module, ") << testing::PrintToString(request.name)
       << ", type " << request.type << ", " << request.width << " by " << request.height << ", flags "
       << request.flags;
}
std::vector<ImageRequest> imageRequests;
HANDLE WINAPI NoteImageRequest(HINSTANCE module, const wchar_t* name, UINT type, int width, int height,
                               UINT flags) {
  const std::wstring shown =
      IS_INTRESOURCE(name) ? L"#" + std::to_wstring(reinterpret_cast<UINT_PTR>(name)) : std::wstring(name);
  imageRequests.push_back({module, shown, type, width, height, flags});
  return nullptr;
}

TEST_F(MenuBitmapsTest, EachIconIsAskedForAsAFileOfTypeSeventeenAndThenAsAResource) {
  const test::FunctionPatch metrics(nullptr, "GetSystemMetrics", &MetricsOfHighCheckMarks);
  const test::FunctionPatch loadImage(nullptr, "LoadImageW", &NoteImageRequest);
  imageRequests.clear();
  for (const UniqueBitmap& bitmap : LoadMenuBitmaps()) EXPECT_FALSE(bitmap);
  const HINSTANCE module = ::GetModuleHandleW(nullptr);
  const std::wstring program = ReadModulePath(nullptr);
  const std::wstring folder = program.substr(0, program.find_last_of(L'\\') + 1);
  EXPECT_EQ(imageRequests, (std::vector<ImageRequest>{{nullptr, folder + L"menu_sync.ico", 17, 20, 24, 0},
                                                      {module, L"#110", IMAGE_ICON, 20, 24, 0},
                                                      {nullptr, folder + L"menu_remove.ico", 17, 20, 24, 0},
                                                      {module, L"#108", IMAGE_ICON, 20, 24, 0},
                                                      {nullptr, folder + L"menu_destroy.ico", 17, 20, 24, 0},
                                                      {module, L"#109", IMAGE_ICON, 20, 24, 0},
                                                      {nullptr, folder + L"menu_stop.ico", 17, 20, 24, 0},
                                                      {module, L"#107", IMAGE_ICON, 20, 24, 0}}));
}

TEST_F(MenuBitmapsTest, BitmapsAreAsWideAndAsHighAsCheckMarksAre) {
  const test::FunctionPatch metrics(nullptr, "GetSystemMetrics", &MetricsOfHighCheckMarks);
  for (const UniqueBitmap& bitmap : LoadMenuBitmaps()) {
    BITMAP shape = {};
    ASSERT_NE(::GetObjectW(bitmap.Get(), sizeof(shape), &shape), 0);
    EXPECT_EQ(shape.bmWidth, 20);
    EXPECT_EQ(shape.bmHeight, 24);
  }
}

TEST_F(MenuBitmapsTest, HundredsOfThemLeaveNothingBehind) {
  LoadMenuBitmaps();
  const size_t before = test::CountGdiHandles();
  for (int i = 0; i < 500; ++i) LoadMenuBitmaps();
  EXPECT_EQ(test::CountGdiHandles(), before);
}

TEST(PathBesideModuleTest, TheFolderAndTheNameHaveOneSeparatorBetweenThem) {
  EXPECT_EQ(PathBesideModule(L"C:\\folder\\library.dll", L"menu_sync.ico"), L"C:\\folder\\menu_sync.ico");
  EXPECT_EQ(PathBesideModule(L"C:\\library.dll", L"menu_sync.ico"), L"C:\\menu_sync.ico");
}

}  // namespace
}  // namespace veskard
