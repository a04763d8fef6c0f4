#include "shellext/contextmenu/MenuPictures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/ModuleHandle.h"
#include "shellext/contextmenu/MenuBitmaps.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestIcons.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

const SIZE kCheckSize = MenuCheckSize();
constexpr uint32_t kIconCount = kMenuIcons.size();

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

SIZE SizeOf(HBITMAP bitmap) {
  BITMAP shape = {};
  ::GetObjectW(bitmap, sizeof(shape), &shape);
  return {shape.bmWidth, shape.bmHeight};
}

// What GDI+ itself makes of an icon's resource.
test::Picture DrawnNow(uint32_t icon, SIZE size) {
  const wchar_t* const resource = MAKEINTRESOURCEW(kMenuIcons[icon].resourceId);
  const UniqueIcon loaded(static_cast<HICON>(
      ::LoadImageW(::GetModuleHandleW(nullptr), resource, IMAGE_ICON, size.cx, size.cy, 0)));
  return PixelsOfBitmap(DrawMenuBitmap(loaded.Get(), size).Get());
}

class MenuPicturesTest : public testing::Test {
 protected:
  test::StartedGdiplus gdiplus_;
  MenuPictures pictures_;
};

TEST_F(MenuPicturesTest, EachIconHasABitmapOfTheCheckMarksSize) {
  for (uint32_t icon = 0; icon < kIconCount; ++icon) {
    const UniqueBitmap bitmap = pictures_.NewBitmap(icon, kCheckSize);
    BITMAP shape = {};
    ASSERT_NE(::GetObjectW(bitmap.Get(), sizeof(shape), &shape), 0);
    EXPECT_EQ(shape.bmWidth, kCheckSize.cx);
    EXPECT_EQ(shape.bmHeight, kCheckSize.cy);
    EXPECT_EQ(shape.bmBitsPixel, 32);
  }
}

TEST_F(MenuPicturesTest, TheBitmapsDifferFromOneAnother) {
  std::set<std::vector<uint32_t>> pictures;
  for (uint32_t icon = 0; icon < kIconCount; ++icon)
    pictures.insert(PixelsOfBitmap(pictures_.NewBitmap(icon, kCheckSize).Get()).pixels);
  EXPECT_EQ(pictures.size(), kIconCount);
}

// Black squares in menus come from bitmaps that lost their alpha.
TEST_F(MenuPicturesTest, TheCornersAreTransparentAndSomethingIsDrawn) {
  for (uint32_t icon = 0; icon < kIconCount; ++icon) {
    const test::Picture picture = PixelsOfBitmap(pictures_.NewBitmap(icon, kCheckSize).Get());
    EXPECT_EQ(picture.At(0, 0) >> 24, 0u);
    size_t opaque = 0;
    for (const uint32_t pixel : picture.pixels) opaque += (pixel >> 24) == 255 ? 1 : 0;
    EXPECT_GT(opaque, picture.pixels.size() / 20);
  }
}

TEST_F(MenuPicturesTest, ABitmapOfKeptPixelsIsTheOneThatGdiplusMakes) {
  for (const SIZE size : {kCheckSize, SIZE{20, 24}, SIZE{17, 17}, SIZE{64, 64}}) {
    for (uint32_t icon = 0; icon < kIconCount; ++icon) {
      const test::Picture drawn = DrawnNow(icon, size);
      for (int again = 0; again < 2; ++again)
        EXPECT_EQ(PixelsOfBitmap(pictures_.NewBitmap(icon, size).Get()), drawn) << icon << ", " << size.cx;
    }
  }
}

TEST_F(MenuPicturesTest, EachBitmapIsItsOwners) {
  UniqueBitmap first = pictures_.NewBitmap(0, kCheckSize);
  const UniqueBitmap second = pictures_.NewBitmap(0, kCheckSize);
  EXPECT_NE(first.Get(), second.Get());
  const test::Picture before = PixelsOfBitmap(second.Get());
  first.Reset();
  EXPECT_EQ(PixelsOfBitmap(second.Get()), before);
}

// --- What is kept

TEST_F(MenuPicturesTest, APictureIsDrawnOnceForEachSize) {
  const test::WatchedCalls calls{"LoadImageW", "GdipDrawImageRectI", "GdipCreateHBITMAPFromBitmap"};
  for (const SIZE size : {SIZE{16, 16}, SIZE{20, 20}, SIZE{16, 16}, SIZE{20, 20}, SIZE{16, 20}})
    EXPECT_TRUE(pictures_.NewBitmap(0, size));
  EXPECT_EQ(calls.Of("LoadImageW"), 3 * 2);
  EXPECT_EQ(calls.Of("GdipDrawImageRectI"), 3);
  EXPECT_EQ(calls.Of("GdipCreateHBITMAPFromBitmap"), 3);
}

TEST_F(MenuPicturesTest, ThreadsThatAskAtOnceDrawItOnce) {
  const test::WatchedCalls calls{"GdipDrawImageRectI"};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([this] { EXPECT_TRUE(pictures_.NewBitmap(2, kCheckSize)); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(calls.Of("GdipDrawImageRectI"), 1);
}

TEST_F(MenuPicturesTest, TheOldestGivesWayToOneTooMany) {
  const auto sized = [](size_t i) { return SIZE{static_cast<LONG>(i + 8), 16}; };
  for (size_t i = 0; i <= MenuPictures::kMostKept; ++i) EXPECT_TRUE(pictures_.NewBitmap(0, sized(i)));
  const test::WatchedCalls calls{"GdipDrawImageRectI"};
  for (size_t i = 1; i <= MenuPictures::kMostKept; ++i) EXPECT_TRUE(pictures_.NewBitmap(0, sized(i)));
  EXPECT_EQ(calls.Of("GdipDrawImageRectI"), 0);
  EXPECT_TRUE(pictures_.NewBitmap(0, sized(0)));
  EXPECT_EQ(calls.Of("GdipDrawImageRectI"), 1);
}

// --- Failures: no bitmap, nothing left behind, and nothing kept

TEST_F(MenuPicturesTest, AfterAnyFailingCallTheNextBitmapIsRight) {
  const test::Picture right = DrawnNow(1, kCheckSize);
  test::WatchedCalls calls{"GetModuleHandleExW",
                           "GetModuleFileNameW",
                           "LoadImageW",
                           "GetIconInfo",
                           "GdipCreateBitmapFromHBITMAP",
                           "GdipGetImageWidth",
                           "GdipGetImageHeight",
                           "GdipGetImagePixelFormat",
                           "GdipBitmapLockBits",
                           "GdipCreateBitmapFromScan0",
                           "GdipGetImageGraphicsContext",
                           "GdipDrawImageI",
                           "GdipDrawImageRectI",
                           "GdipCreateHBITMAPFromBitmap",
                           "GdipDisposeImage",
                           "GdipDeleteGraphics",
                           "GdipBitmapUnlockBits",
                           "CreateCompatibleDC",
                           "GetDIBits",
                           "CreateDIBSection"};
  const size_t before = test::CountGdiHandles();
  MenuPictures pictures;
  UniqueBitmap bitmap;
  std::set<std::string> needed;
  calls.FailEach([&] { std::destroy_at(&pictures), std::construct_at(&pictures); },
                 [&] { bitmap = pictures.NewBitmap(1, kCheckSize); },
                 [&](const test::FailedCall& failed) {
                   if (bitmap) {
                     EXPECT_EQ(PixelsOfBitmap(bitmap.Get()), right) << failed;
                   } else {
                     needed.insert(failed.name);
                   }
                   bitmap = pictures.NewBitmap(1, kCheckSize);
                   EXPECT_EQ(PixelsOfBitmap(bitmap.Get()), right) << failed;
                   bitmap.Reset();
                   EXPECT_EQ(calls.Holds(test::Held::kGdiplusObject), 0) << failed;
                   EXPECT_EQ(test::CountGdiHandles(), before) << failed;
                 });
  for (const char* step :
       {"LoadImageW", "GetIconInfo", "GdipCreateBitmapFromHBITMAP", "GdipCreateBitmapFromScan0",
        "GdipGetImagePixelFormat", "GdipGetImageGraphicsContext", "GdipDrawImageRectI",
        "GdipCreateHBITMAPFromBitmap", "CreateCompatibleDC", "GetDIBits", "CreateDIBSection"})
    EXPECT_TRUE(needed.contains(step)) << step;
}

TEST_F(MenuPicturesTest, WithoutMemoryThereIsNoBitmapAndTheNextOneIsRight) {
  const test::Picture right = DrawnNow(1, kCheckSize);
  const test::WatchedCalls heap(test::kHeapCalls);
  size_t missing = 0;
  const size_t tried = test::FailEachAllocation(
      [&missing] {
        MenuPictures pictures;
        if (!pictures.NewBitmap(1, kCheckSize)) ++missing;
      },
      [&](size_t number, bool threw, size_t) {
        EXPECT_FALSE(threw) << number;
        EXPECT_EQ(PixelsOfBitmap(pictures_.NewBitmap(1, kCheckSize).Get()), right) << number;
      });
  EXPECT_GT(tried, 0u);
  EXPECT_EQ(missing, tried);
}

TEST(MenuPicturesWithoutGdiplusTest, WhereItDoesNotStartThereIsNoBitmapUntilItDoes) {
  const GdiplusUser user;
  MenuPictures pictures;
  {
    const test::FailingCall start("GdiplusStartup");
    EXPECT_FALSE(pictures.NewBitmap(0, kCheckSize));
    EXPECT_TRUE(start.Happened());
  }
  EXPECT_TRUE(pictures.NewBitmap(0, kCheckSize));
}

// --- Drawing

TEST_F(MenuPicturesTest, AnIconOfTheRightSizeIsCopiedPixelForPixel) {
  const test::Picture drawn = test::Paint(kCheckSize.cx, kCheckSize.cy,
                                          [](int x, int y) { return (x + y) % 2 == 0 ? 0xFF204060u : 0u; });
  const UniqueIcon icon = test::IconOf(drawn);
  EXPECT_EQ(PixelsOfBitmap(DrawMenuBitmap(icon.Get(), kCheckSize).Get()), drawn);
}

TEST_F(MenuPicturesTest, AnIconOfAnotherSizeIsScaled) {
  const UniqueIcon icon = test::IconOf(test::Paint(64, 64, [](int, int) { return 0xFF00C3FFu; }));
  const test::Picture picture = PixelsOfBitmap(DrawMenuBitmap(icon.Get(), kCheckSize).Get());
  EXPECT_EQ(picture.width, kCheckSize.cx);
  EXPECT_EQ(picture.At(kCheckSize.cx / 2, kCheckSize.cy / 2), 0xFF00C3FFu);
}

TEST_F(MenuPicturesTest, NoIconGivesNoBitmap) {
  EXPECT_FALSE(DrawMenuBitmap(nullptr, kCheckSize));
}

// The type with which the file is asked for loads nothing: an icon file beside
// the library has no effect.
TEST_F(MenuPicturesTest, AFileBesideTheModuleIsNotLoaded) {
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
  EXPECT_EQ(PixelsOfBitmap(pictures_.NewBitmap(0, kCheckSize).Get()), DrawnNow(0, kCheckSize));
  ::DeleteFileW(file.c_str());
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

TEST_F(MenuPicturesTest, AnIconIsAskedForAsAFileOfTypeSeventeenAndThenAsAResource) {
  const test::FunctionPatch loadImage(nullptr, "LoadImageW", &NoteImageRequest);
  imageRequests.clear();
  for (const uint32_t icon : {0u, 1u, 2u}) EXPECT_FALSE(pictures_.NewBitmap(icon, {20, 24}));
  const HINSTANCE module = ::GetModuleHandleW(nullptr);
  const std::wstring program = ReadModulePath(nullptr);
  const std::wstring folder = program.substr(0, program.find_last_of(L'\\') + 1);
  EXPECT_EQ(imageRequests, (std::vector<ImageRequest>{{nullptr, folder + L"menu_sync.ico", 17, 20, 24, 0},
                                                      {module, L"#110", IMAGE_ICON, 20, 24, 0},
                                                      {nullptr, folder + L"menu_remove.ico", 17, 20, 24, 0},
                                                      {module, L"#108", IMAGE_ICON, 20, 24, 0},
                                                      {nullptr, folder + L"menu_destroy.ico", 17, 20, 24, 0},
                                                      {module, L"#109", IMAGE_ICON, 20, 24, 0}}));
}

TEST_F(MenuPicturesTest, HundredsOfThemLeaveNothingBehind) {
  pictures_.NewBitmap(0, kCheckSize);
  const size_t before = test::CountGdiHandles();
  for (int i = 0; i < 500; ++i) pictures_.NewBitmap(0, kCheckSize);
  EXPECT_EQ(test::CountGdiHandles(), before);
}

// --- The bitmaps of one handler

// A system whose check marks are higher than they are wide.
int WINAPI MetricsOfHighCheckMarks(int index) {
  return index == 71 ? 20 : index == 72 ? 24 : 0;
}

TEST(MenuBitmapsTest, TheSizeIsThatOfCheckMarksNow) {
  const test::FunctionPatch metrics(nullptr, "GetSystemMetrics", &MetricsOfHighCheckMarks);
  EXPECT_EQ(MenuCheckSize().cx, 20);
  EXPECT_EQ(MenuCheckSize().cy, 24);
}

TEST(MenuBitmapsTest, ItemsOfOneIconShareABitmapAndAnotherSizeHasItsOwn) {
  const test::StartedGdiplus gdiplus;
  const size_t before = test::CountGdiHandles();
  {
    MenuBitmaps bitmaps;
    const HBITMAP first = bitmaps.Of(0, {16, 16});
    EXPECT_EQ(bitmaps.Of(0, {16, 16}), first);
    EXPECT_NE(bitmaps.Of(1, {16, 16}), first);
    const HBITMAP larger = bitmaps.Of(0, {20, 24});
    EXPECT_EQ(SizeOf(larger).cx, 20);
    EXPECT_EQ(SizeOf(larger).cy, 24);
    EXPECT_EQ(SizeOf(first).cx, 16) << "a menu may still show it";
    EXPECT_EQ(test::CountGdiHandles(), before + 3);
  }
  EXPECT_EQ(test::CountGdiHandles(), before);
}

TEST(MenuBitmapsTest, HandlersShareNoBitmap) {
  const test::StartedGdiplus gdiplus;
  MenuBitmaps one, other;
  EXPECT_NE(one.Of(0, kCheckSize), other.Of(0, kCheckSize));
}

TEST(PathBesideModuleTest, TheFolderAndTheNameHaveOneSeparatorBetweenThem) {
  EXPECT_EQ(PathBesideModule(L"C:\\folder\\library.dll", L"menu_sync.ico"), L"C:\\folder\\menu_sync.ico");
  EXPECT_EQ(PathBesideModule(L"C:\\library.dll", L"menu_sync.ico"), L"C:\\menu_sync.ico");
}

}  // namespace
}  // namespace veskard
