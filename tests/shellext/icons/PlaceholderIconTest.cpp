#include "shellext/icons/PlaceholderIcon.h"

#include <commctrl.h>
#include <shellapi.h>

#include <commoncontrols.h>
#include <gtest/gtest.h>

#include "shellext/GdiplusUser.h"
#include "shellext/icons/GdiplusBitmap.h"
#include "shellext/icons/IconCache.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/FakePlaceholders.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/ImportPatch.h"
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
using test::SetPlaceholder;
using test::SolidPattern;
using test::TestFileType;

constexpr bool kSelective = true;

class PlaceholderIconTest : public testing::Test {
 protected:
  PlaceholderIconTest() { EmptyCache(); }
  ~PlaceholderIconTest() override {
    EmptyCache();
    test::ForgetPlaceholders();
  }

  static Picture Compose(const std::wstring& path, bool large) {
    return PixelsOf(ComposePlaceholderIcon(path, large).Get());
  }

  const GdiplusUser gdiplus_;
};

// --- What it looks like ------------------------------------------------------

// One kind of file: its name, and its own icon in both size classes.
struct FileKind {
  std::wstring path;
  Picture large;
  Picture small;
  bool isFolder = false;
};

// For every progress and for none, in both size classes, twice (the second time
// from the cache).
void ExpectGoldenIcons(const FileKind& kind) {
  const std::wstring placeholder = kind.path + L".ghpl";
  for (const bool large : {true, false}) {
    const Picture own = DrawnOnEmpty(large ? kind.large : kind.small);
    ASSERT_GT(own.width, 0) << "nothing to compare with";
    for (int progress = 0; progress <= 100; progress += 5) {
      SetPlaceholder(placeholder, {{progress, kind.isFolder}, kSelective});
      const test::Golden golden = GoldenIcon(own, progress);
      for (int round = 0; round < 2; ++round) {
        const UniqueIcon icon = ComposePlaceholderIcon(placeholder, large);
        EXPECT_TRUE(LooksLike(PixelsOf(icon.Get()), golden))
            << kind.path << (large ? " L " : " S ") << progress;
      }
    }
    SetPlaceholder(placeholder, {{-1, kind.isFolder}, kSelective});
    EXPECT_TRUE(
        LooksLike(PixelsOf(ComposePlaceholderIcon(placeholder, large).Get()), GoldenIcon(own, std::nullopt)))
        << kind.path << (large ? " L" : " S");
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

FileKind KindOf(const wchar_t* path) {
  return {path, ShellsLargeIcon(path), ShellsSmallIcon(path)};
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithAlphaAtEverySize) {
  const TestFileType type(L"vkga",
                          {{SeeThroughPattern(16)}, {SeeThroughPattern(32)}, {SeeThroughPattern(256)}});
  ExpectGoldenIcons({L"C:\\sync\\report.vkga", SeeThroughPattern(256), SeeThroughPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithSolidColours) {
  const TestFileType type(L"vkgb", {{SolidPattern(16)}, {SolidPattern(256)}});
  ExpectGoldenIcons({L"C:\\sync\\report.vkgb", SolidPattern(256), SolidPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithASmallIconAlone) {
  const TestFileType type(L"vkgc", {{SolidPattern(16)}});
  ExpectGoldenIcons({L"C:\\sync\\report.vkgc", ShellsLargeIcon(L"report.vkgc"), SolidPattern(16)});
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithAMonochromeIcon) {
  const TestFileType type(L"vkgd", {{SolidPattern(16), 1}, {SolidPattern(32), 1}});
  ExpectGoldenIcons(KindOf(L"C:\\sync\\report.vkgd"));
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeWithoutAlpha) {
  const TestFileType type(L"vkge", {{SolidPattern(16), 24}, {SolidPattern(32), 24}, {SolidPattern(256), 24}});
  ExpectGoldenIcons(KindOf(L"C:\\sync\\report.vkge"));
}

TEST_F(PlaceholderIconTest, IsGoldenForANameWithoutAnExtension) {
  ExpectGoldenIcons(KindOf(L"C:\\sync\\README"));
}

TEST_F(PlaceholderIconTest, IsGoldenForATypeThatNobodyKnows) {
  ExpectGoldenIcons(KindOf(L"C:\\sync\\report.nobodyknows"));
}

TEST_F(PlaceholderIconTest, IsGoldenForAFolder) {
  ExpectGoldenIcons({L"C:\\sync\\music", ShellsLargeIcon(L"x", FILE_ATTRIBUTE_DIRECTORY),
                     ShellsSmallIcon(L"x", FILE_ATTRIBUTE_DIRECTORY), true});
}

TEST_F(PlaceholderIconTest, UnknownProgressHasNoBadgeInASelectiveFolderAndZeroElsewhere) {
  const TestFileType type(L"vkgf", {{SolidPattern(16)}, {SolidPattern(256)}});
  SetPlaceholder(L"C:\\sync\\a.vkgf.ghpl", {{-1, false}, kSelective});
  SetPlaceholder(L"C:\\sync\\b.vkgf.ghpl", {{-1, false}, !kSelective});
  for (const bool large : {true, false}) {
    const Picture own = DrawnOnEmpty(SolidPattern(large ? 256 : 16));
    EXPECT_TRUE(LooksLike(Compose(L"C:\\sync\\a.vkgf.ghpl", large), GoldenIcon(own, std::nullopt)));
    EXPECT_TRUE(LooksLike(Compose(L"C:\\sync\\b.vkgf.ghpl", large), GoldenIcon(own, 0)));
  }
}

// Marks on disk can hold such a number; it is not the one that means "unknown".
TEST_F(PlaceholderIconTest, AnyOtherNegativeProgressHasNoBadgeAnywhere) {
  const TestFileType type(L"vkgg", {{SolidPattern(16)}});
  const Picture own = DrawnOnEmpty(SolidPattern(16));
  for (const bool selective : {true, false}) {
    SetPlaceholder(L"C:\\sync\\a.vkgg.ghpl", {{-5, false}, selective});
    EXPECT_TRUE(LooksLike(Compose(L"C:\\sync\\a.vkgg.ghpl", false), GoldenIcon(own, std::nullopt)));
  }
  EXPECT_TRUE(IsCached(L"-5S"));
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
  SetPlaceholder(L"C:\\sync\\report.vkha.ghpl", {{45, false}, kSelective});
  SetPlaceholder(L"C:\\sync\\other.vkha.ghpl", {{45, false}, kSelective});
  Compose(L"C:\\sync\\report.vkha.ghpl", true);
  EXPECT_TRUE(IsCached(L".vkhaL"));
  EXPECT_TRUE(IsCached(L"45L"));
  EXPECT_EQ(CacheSize(), 2u);
  Compose(L"C:\\sync\\other.vkha.ghpl", true);
  EXPECT_EQ(CacheSize(), 2u);
  Compose(L"C:\\sync\\other.vkha.ghpl", false);
  EXPECT_TRUE(IsCached(L".vkhaS"));
  EXPECT_TRUE(IsCached(L"45S"));
  EXPECT_EQ(CacheSize(), 4u);
}

TEST_F(PlaceholderIconTest, FoldersHaveAKeyOfTheirOwn) {
  SetPlaceholder(L"C:\\sync\\music.txt.ghpl", {{45, true}, kSelective});
  Compose(L"C:\\sync\\music.txt.ghpl", true);
  EXPECT_TRUE(IsCached(L".vlk2fldrL"));
  EXPECT_FALSE(IsCached(L".txtL"));
}

// Nobody has such a name by chance; telling the two apart would take another key.
TEST_F(PlaceholderIconTest, AFileNamedLikeAFoldersKeySharesIt) {
  SetPlaceholder(L"C:\\sync\\x.vlk2fldr.ghpl", {{-1, false}, kSelective});
  SetPlaceholder(L"C:\\sync\\music.ghpl", {{-1, true}, kSelective});
  for (const bool large : {true, false}) {
    const Picture first = Compose(L"C:\\sync\\x.vlk2fldr.ghpl", large);
    EXPECT_EQ(Compose(L"C:\\sync\\music.ghpl", large), first);
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
  SetPlaceholder(L"C:\\sync\\a.vkhb.ghpl", {{-1, false}, kSelective});
  EXPECT_EQ(Compose(L"C:\\sync\\a.vkhb.ghpl", false),
            test::Paint(16, 16, [](int, int) { return 0xFF123456u; }));
}

TEST_F(PlaceholderIconTest, ComposingDoesNotDrawIntoTheEntries) {
  const TestFileType type(L"vkhc", {{SolidPattern(16)}});
  const std::wstring path = L"C:\\sync\\a.vkhc.ghpl";
  SetPlaceholder(path, {{100, false}, kSelective});
  Compose(path, false);
  SetPlaceholder(path, {{-1, false}, kSelective});
  EXPECT_TRUE(LooksLike(Compose(path, false), GoldenIcon(DrawnOnEmpty(SolidPattern(16)), std::nullopt)));
}

// A Shell that has a monochrome icon for every type.
class ShellIconPatch {
 private:
  static DWORD_PTR WINAPI Answer(LPCWSTR, DWORD, SHFILEINFOW* info, UINT, UINT) {
    *info = {};
    info->hIcon = test::MonochromeIcon(16).Release();
    return 1;
  }

  const test::ImportPatch patch_{nullptr, "SHGetFileInfoW", reinterpret_cast<void*>(&Answer)};
};

TEST_F(PlaceholderIconTest, ATypeWhoseIconHasNoColoursHasNone) {
  const size_t handles = test::CountGdiHandles();
  SetPlaceholder(L"a.vkhf.ghpl", {{45, false}, kSelective});
  {
    const ShellIconPatch monochrome;
    EXPECT_FALSE(ComposePlaceholderIcon(L"a.vkhf.ghpl", false));
    EXPECT_EQ(CacheSize(), 0u);
  }
  EXPECT_EQ(test::CountGdiHandles(), handles);
  EXPECT_TRUE(ComposePlaceholderIcon(L"a.vkhf.ghpl", false));
}

// The badge keeps the size of the first icon that it was made for.
TEST_F(PlaceholderIconTest, ABadgeIsScaledToAnIconOfAnotherSize) {
  {
    const CriticalSectionHold hold(SharedIconCache().Lock());
    SharedIconCache().Store(L".vkhdL", NewBitmap({64, 64, PixelFormat32bppARGB}));
    SharedIconCache().Store(L".vkheL", NewBitmap({128, 128, PixelFormat32bppARGB}));
  }
  SetPlaceholder(L"a.vkhd.ghpl", {{100, false}, kSelective});
  SetPlaceholder(L"a.vkhe.ghpl", {{100, false}, kSelective});
  EXPECT_EQ(Compose(L"a.vkhd.ghpl", true), test::DrawnBadge(64, 64, 100));
  const Picture scaled = Compose(L"a.vkhe.ghpl", true);
  ASSERT_EQ(scaled.width, 128);
  EXPECT_EQ(CacheSize(), 3u);
  const int ring = 2 * (13 + 35);  // its right edge at 64 pixels, doubled
  EXPECT_EQ(scaled.At(ring, 64 - 2), 0xFF00C3FFu);
  EXPECT_EQ(scaled.At(0, 0), 0u);
}

}  // namespace
}  // namespace veskard
