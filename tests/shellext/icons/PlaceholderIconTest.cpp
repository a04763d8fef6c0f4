#include "shellext/icons/PlaceholderIcon.h"

#include <commctrl.h>
#include <shellapi.h>

#include <commoncontrols.h>
#include <gtest/gtest.h>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/icons/IconCache.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/Patched.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::CacheSize;
using test::DrawnOnEmpty;
using test::EmptyCache;
using test::GoldenIcon;
using test::IsCached;
using test::LooksLike;
using test::Picture;
using test::PixelsOf;
using test::SeeThroughPattern;
using test::SolidPattern;
using test::TestFileType;

// One kind of file: its name, and its own icon in both size classes.
struct FileKind {
  std::wstring name;
  Picture large;
  Picture small;
  bool isFolder = false;
};

class PlaceholderIconTest : public testing::Test {
 protected:
  PlaceholderIconTest() { EmptyCache(); }
  ~PlaceholderIconTest() override { EmptyCache(); }

  void ExpectGoldenIcons(const FileKind& kind);

  static Picture Compose(const std::wstring& path, bool large) {
    return PixelsOf(ComposePlaceholderIcon(path, large).Get());
  }

  test::PlaceholderFolder folder_;
  const test::StartedGdiplus gdiplus_;
};

// --- What it looks like ------------------------------------------------------

// For every progress and for none, in both size classes, twice (the second time
// from the cache).
void PlaceholderIconTest::ExpectGoldenIcons(const FileKind& kind) {
  const std::wstring name = kind.name + L".ghpl";
  const std::wstring placeholder = folder_.Selective(name);
  for (const bool large : {true, false}) {
    const Picture own = DrawnOnEmpty(large ? kind.large : kind.small);
    ASSERT_GT(own.width, 0) << "nothing to compare with";
    for (int progress = 0; progress <= 100; progress += 5) {
      folder_.Mark(name, {progress, kind.isFolder});
      const test::Golden golden = GoldenIcon(own, progress);
      for (int round = 0; round < 2; ++round) {
        const UniqueIcon icon = ComposePlaceholderIcon(placeholder, large);
        EXPECT_TRUE(LooksLike(PixelsOf(icon.Get()), golden))
            << kind.name << (large ? " L " : " S ") << progress;
      }
    }
    folder_.Mark(name, {-1, kind.isFolder});
    EXPECT_TRUE(
        LooksLike(PixelsOf(ComposePlaceholderIcon(placeholder, large).Get()), GoldenIcon(own, std::nullopt)))
        << kind.name << (large ? " L" : " S");
  }
}

// The Shell's own icon for a name, fetched by the test.
Picture ShellsSmallIcon(const wchar_t* name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
  SHFILEINFOW info = {};
  ::SHGetFileInfoW(name, attributes, &info, sizeof(info),
                   SHGFI_ICON | SHGFI_USEFILEATTRIBUTES | SHGFI_SMALLICON);
  const UniqueIcon icon(info.hIcon);
  return PixelsOf(icon.Get());
}

Picture ShellsLargeIcon(const wchar_t* name, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
  SHFILEINFOW info = {};
  ::SHGetFileInfoW(name, attributes, &info, sizeof(info), SHGFI_SYSICONINDEX | SHGFI_USEFILEATTRIBUTES);
  UniqueCom<IImageList> list;
  ::SHGetImageList(SHIL_JUMBO, __uuidof(IImageList), reinterpret_cast<void**>(list.Out()));
  UniqueIcon icon;
  list.Get()->GetIcon(info.iIcon, ILD_NORMAL, icon.Out());
  return PixelsOf(icon.Get());
}

FileKind KindOf(const wchar_t* name) {
  return {name, ShellsLargeIcon(name), ShellsSmallIcon(name)};
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithAlphaAtEverySize) {
  const TestFileType type(L"vkga",
                          {{SeeThroughPattern(16)}, {SeeThroughPattern(32)}, {SeeThroughPattern(256)}});
  ExpectGoldenIcons({L"report.vkga", SeeThroughPattern(256), SeeThroughPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithSolidColours) {
  const TestFileType type(L"vkgb", {{SolidPattern(16)}, {SolidPattern(256)}});
  ExpectGoldenIcons({L"report.vkgb", SolidPattern(256), SolidPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithASmallIconAlone) {
  const TestFileType type(L"vkgc", {{SolidPattern(16)}});
  ExpectGoldenIcons({L"report.vkgc", ShellsLargeIcon(L"report.vkgc"), SolidPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithAMonochromeIcon) {
  const TestFileType type(L"vkgd", {{SolidPattern(16), 1}, {SolidPattern(32), 1}});
  ExpectGoldenIcons(KindOf(L"report.vkgd"));
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithoutAlpha) {
  const TestFileType type(L"vkge", {{SolidPattern(16), 24}, {SolidPattern(32), 24}, {SolidPattern(256), 24}});
  ExpectGoldenIcons(KindOf(L"report.vkge"));
}

TEST_F(PlaceholderIconTest, IsGoldenForANameWithoutAnExtension) {
  ExpectGoldenIcons(KindOf(L"README"));
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeThatNobodyKnows) {
  ExpectGoldenIcons(KindOf(L"report.nobodyknows"));
}

TEST_F(PlaceholderIconTest, IsGoldenForAFolder) {
  ExpectGoldenIcons({L"music", ShellsLargeIcon(L"x", FILE_ATTRIBUTE_DIRECTORY),
                     ShellsSmallIcon(L"x", FILE_ATTRIBUTE_DIRECTORY), true});
}

TEST_F(PlaceholderIconTest, UnknownProgressHasNoBadgeInASelectiveFolderAndZeroElsewhere) {
  const TestFileType type(L"vkgf", {{SolidPattern(16)}, {SolidPattern(256)}});
  const std::wstring selective = folder_.Mark(L"a.vkgf.ghpl", {});
  const std::wstring whole = folder_.MarkInWhole(L"a.vkgf.ghpl", {});
  for (const bool large : {true, false}) {
    const Picture own = DrawnOnEmpty(SolidPattern(large ? 256 : 16));
    EXPECT_TRUE(LooksLike(Compose(selective, large), GoldenIcon(own, std::nullopt)));
    EXPECT_TRUE(LooksLike(Compose(whole, large), GoldenIcon(own, 0)));
  }
}

// Marks on disk can hold such a number; it is not the one that means "unknown".
TEST_F(PlaceholderIconTest, AnyOtherNegativeProgressHasNoBadgeAnywhere) {
  const TestFileType type(L"vkgg", {{SolidPattern(16)}});
  const Picture own = DrawnOnEmpty(SolidPattern(16));
  constexpr test::PlaceholderMark kMinusSix = {4294967290};
  const std::wstring selective = folder_.Mark(L"a.vkgg.ghpl", kMinusSix);
  const std::wstring whole = folder_.MarkInWhole(L"a.vkgg.ghpl", kMinusSix);
  for (const std::wstring& path : {selective, whole}) {
    EXPECT_TRUE(LooksLike(Compose(path, false), GoldenIcon(own, std::nullopt)));
  }
  EXPECT_TRUE(IsCached(L"-6S"));
}

// --- What it is made from ----------------------------------------------------

struct TargetNameCase {
  const wchar_t* placeholder;
  bool isFolder;
  const wchar_t* target;
};

constexpr TargetNameCase kTargetNames[] = {
    {L"C:\\f\\report.docx.ghpl", false, L"C:\\f\\report.docx"},
    {L"C:\\f\\report.docx.GHPL", false, L"C:\\f\\report.docx"},
    {L"C:\\f\\README.ghpl", false, L"C:\\f\\README"},
    {L"C:\\f\\music.ghpl", true, L"C:\\f\\music.vlk2fldr"},
    {L"C:\\f\\music.old.ghpl", true, L"C:\\f\\music.old.vlk2fldr"},
    {L"C:\\f\\no extension", false, L"C:\\f\\no extension"},
    {L".ghpl", false, L""},
    {L"", false, L""},
    {L"", true, L".vlk2fldr"},
};

TEST_F(PlaceholderIconTest, StandsForItsNameWithoutTheLastExtension) {
  for (const auto& [placeholder, isFolder, target] : kTargetNames) {
    EXPECT_EQ(TargetName(placeholder, isFolder), target);
  }
}

TEST_F(PlaceholderIconTest, NamesOfOneTypeShareItsEntry) {
  const TestFileType type(L"vkha", {{SolidPattern(16)}, {SolidPattern(256)}});
  const std::wstring report = folder_.Mark(L"report.vkha.ghpl", {45});
  const std::wstring other = folder_.Mark(L"other.vkha.ghpl", {45});
  Compose(report, true);
  EXPECT_TRUE(IsCached(L".vkhaL"));
  EXPECT_TRUE(IsCached(L"45L"));
  EXPECT_EQ(CacheSize(), 2u);
  Compose(other, true);
  EXPECT_EQ(CacheSize(), 2u);
  Compose(other, false);
  EXPECT_TRUE(IsCached(L".vkhaS"));
  EXPECT_TRUE(IsCached(L"45S"));
  EXPECT_EQ(CacheSize(), 4u);
}

TEST_F(PlaceholderIconTest, FoldersHaveAKeyOfTheirOwn) {
  Compose(folder_.Mark(L"music.txt.ghpl", {45, true}), true);
  EXPECT_TRUE(IsCached(L".vlk2fldrL"));
  EXPECT_FALSE(IsCached(L".txtL"));
}

// Such a name is not chosen by chance, so both share a key.
TEST_F(PlaceholderIconTest, AFileNamedLikeAFoldersKeySharesIt) {
  const std::wstring file = folder_.Mark(L"x.vlk2fldr.ghpl", {});
  const std::wstring folder = folder_.Mark(L"music.ghpl", {-1, true});
  for (const bool large : {true, false}) {
    const Picture first = Compose(file, large);
    EXPECT_EQ(Compose(folder, large), first);
    EXPECT_TRUE(IsCached(large ? L".vlk2fldrL" : L".vlk2fldrS"));
  }
  EXPECT_EQ(CacheSize(), 2u);
}

TEST_F(PlaceholderIconTest, AnEntryIsUsedAsItIs) {
  UniqueGpBitmap entry = NewBitmap({16, 16, PixelFormat32bppARGB});
  {
    const LockedBits bits(entry.Get(), PixelFormat32bppARGB);
    for (UINT y = 0; y < 16; ++y) std::fill_n(bits.Row(y), 16, 0xFF123456u);
  }
  {
    const CriticalSectionHold hold(SharedIconCache().Lock());
    SharedIconCache().Store(L".vkhbS", std::move(entry));
  }
  EXPECT_EQ(Compose(folder_.Mark(L"a.vkhb.ghpl", {}), false),
            test::Paint(16, 16, [](int, int) { return 0xFF123456u; }));
}

TEST_F(PlaceholderIconTest, ComposingDoesNotDrawIntoTheEntries) {
  const TestFileType type(L"vkhc", {{SolidPattern(16)}});
  const std::wstring path = folder_.Mark(L"a.vkhc.ghpl", {100});
  Compose(path, false);
  folder_.Mark(L"a.vkhc.ghpl", {});
  EXPECT_TRUE(LooksLike(Compose(path, false), GoldenIcon(DrawnOnEmpty(SolidPattern(16)), std::nullopt)));
}

TEST_F(PlaceholderIconTest, ATypeWhoseIconHasNoColoursHasNone) {
  const size_t handles = test::CountGdiHandles();
  const std::wstring path = folder_.Mark(L"a.vkhf.ghpl", {45});
  {
    const test::Patched<&::SHGetFileInfoW> monochrome("SHGetFileInfoW",
                                                      [](auto, auto, auto, SHFILEINFOW* info, auto...) {
                                                        *info = {};
                                                        info->hIcon = test::MonochromeIcon(16).Release();
                                                        return DWORD_PTR{1};
                                                      });
    EXPECT_FALSE(ComposePlaceholderIcon(path, false));
    EXPECT_EQ(CacheSize(), 0u);
  }
  EXPECT_EQ(test::CountGdiHandles(), handles);
  EXPECT_TRUE(ComposePlaceholderIcon(path, false));
}

// The badge keeps the size of the first icon that it was made for.
TEST_F(PlaceholderIconTest, ABadgeIsScaledToAnIconOfAnotherSize) {
  {
    const CriticalSectionHold hold(SharedIconCache().Lock());
    SharedIconCache().Store(L".vkhdL", NewBitmap({64, 64, PixelFormat32bppARGB}));
    SharedIconCache().Store(L".vkheL", NewBitmap({128, 128, PixelFormat32bppARGB}));
  }
  EXPECT_EQ(Compose(folder_.Mark(L"a.vkhd.ghpl", {100}), true), test::DrawnBadge(64, 64, 100));
  const Picture scaled = Compose(folder_.Mark(L"a.vkhe.ghpl", {100}), true);
  ASSERT_EQ(scaled.width, 128);
  EXPECT_EQ(CacheSize(), 3u);
  const int ring = 2 * (13 + 35);  // its right edge at 64 pixels, doubled
  EXPECT_EQ(scaled.At(ring, 64 - 2), 0xFF00C3FFu);
  EXPECT_EQ(scaled.At(0, 0), 0u);
}

}  // namespace
}  // namespace veskard
