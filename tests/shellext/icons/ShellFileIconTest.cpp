#include "shellext/icons/ShellFileIcon.h"

#include <gtest/gtest.h>

#include "core/ModuleHandle.h"
#include "shellext/module/ClassFactory.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/GoldenIcon.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::CacheSize;
using test::ExtractedIcons;
using test::Golden;
using test::IconHandler;
using test::kOneSize;
using test::kTwoSizes;
using test::LooksLike;
using test::PixelsOf;
using test::SeeThroughPattern;
using test::SolidPattern;

class ShellFileIconTest : public testing::Test {
 protected:
  test::PlaceholderFolder folder_;
  const std::wstring report_ = folder_.Mark(L"report.vkx.ghpl", {45});
  const test::TestFileType type_{L"vkx", {{SolidPattern(16)}, {SeeThroughPattern(256)}}};
  const Golden large_ = test::GoldenIcon(test::DrawnOnEmpty(SeeThroughPattern(256)), 45);
  const Golden small_ = test::GoldenIcon(test::DrawnOnEmpty(SolidPattern(16)), 45);
};

// --- The object --------------------------------------------------------------

TEST_F(ShellFileIconTest, HasTwoFacesAndAnswersUnknownWithTheSecond) {
  const IconHandler handler;
  void* unknown = nullptr;
  ASSERT_EQ(handler.File().QueryInterface(IID_IUnknown, &unknown), S_OK);
  EXPECT_EQ(unknown, &handler.Icons());
  handler.Icons().Release();
  void* file = nullptr;
  ASSERT_EQ(handler.Icons().QueryInterface(IID_IPersistFile, &file), S_OK);
  EXPECT_EQ(file, &handler.File());
  handler.File().Release();
}

TEST_F(ShellFileIconTest, AnswersNothingElse) {
  const IconHandler handler;
  for (const IID& iid : {IID_IPersist, IID_IExtractIconA, IID_IContextMenu, IID_IClassFactory, IID_NULL}) {
    void* out = this;
    EXPECT_EQ(handler.File().QueryInterface(iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
  }
}

TEST_F(ShellFileIconTest, NeedsSomewhereToAnswer) {
  const IconHandler handler;
  EXPECT_EQ(handler.File().QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ShellFileIconTest, BothFacesShareOneCount) {
  auto* object = new ShellFileIcon;
  IPersistFile* const file = object;
  IExtractIconW* const icons = object;
  EXPECT_EQ(file->AddRef(), 1u);
  EXPECT_EQ(icons->AddRef(), 2u);
  EXPECT_EQ(file->Release(), 1u);
  EXPECT_EQ(icons->Release(), 0u);
}

TEST_F(ShellFileIconTest, CountsAsAUserOfTheModuleAndOfGdiplusWhileItLives) {
  const uint32_t moduleUsers = ModuleLockCount();
  {
    const IconHandler first;
    EXPECT_EQ(ModuleLockCount(), moduleUsers + 1);
    EXPECT_EQ(GdiplusUserCount(), 1u);
    const IconHandler second;
    EXPECT_EQ(ModuleLockCount(), moduleUsers + 2);
    EXPECT_EQ(GdiplusUserCount(), 2u);
  }
  EXPECT_EQ(ModuleLockCount(), moduleUsers);
  EXPECT_EQ(GdiplusUserCount(), 0u);
}

TEST_F(ShellFileIconTest, IsDestroyedAtOnceWhenTheInterfaceIsAnother) {
  const UniqueCom<IClassFactory> factory(new ClassFactory<ShellFileIcon>());
  factory.Get()->AddRef();
  void* out = this;
  EXPECT_EQ(factory.Get()->CreateInstance(nullptr, IID_IContextMenu, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(GdiplusUserCount(), 0u);
}

TEST_F(ShellFileIconTest, RefusesAggregation) {
  const UniqueCom<IClassFactory> factory(new ClassFactory<ShellFileIcon>());
  factory.Get()->AddRef();
  void* out = this;
  EXPECT_EQ(factory.Get()->CreateInstance(factory.Get(), IID_IUnknown, &out), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out, nullptr);
}

// --- IPersistFile ------------------------------------------------------------

TEST_F(ShellFileIconTest, ImplementsNothingOfPersistenceButLoad) {
  const IconHandler handler(report_);
  CLSID classId = IID_IUnknown;
  LPOLESTR name = nullptr;
  EXPECT_EQ(handler.File().GetClassID(&classId), E_NOTIMPL);
  EXPECT_EQ(classId, IID_IUnknown);
  EXPECT_EQ(handler.File().IsDirty(), E_NOTIMPL);
  EXPECT_EQ(handler.File().Save(report_.c_str(), TRUE), E_NOTIMPL);
  EXPECT_EQ(handler.File().SaveCompleted(report_.c_str()), E_NOTIMPL);
  EXPECT_EQ(handler.File().GetCurFile(&name), E_NOTIMPL);
  EXPECT_EQ(name, nullptr);
}

// 259 characters that end in ".ghpl" are a placeholder however many follow; one
// fewer, and what is kept ends elsewhere.
TEST_F(ShellFileIconTest, KeepsThe259FirstCharactersOfAName) {
  const std::wstring kept = L"C:\\" + std::wstring(259 - 3 - 5, L'n') + L".ghpl";
  ASSERT_EQ(kept.size(), 259u);
  const IconHandler handler(kept + std::wstring(300 - 259, L'x'));
  EXPECT_EQ(handler.Extract().result, S_OK);
  handler.Load(L"C" + kept);
  EXPECT_EQ(handler.Extract().result, E_NOTIMPL);
}

TEST_F(ShellFileIconTest, AnotherLoadReplacesTheName) {
  const IconHandler handler(report_);
  handler.Load(L"C:\\sync\\report.vkx");
  EXPECT_EQ(handler.Extract().result, E_NOTIMPL);
  handler.Load(report_);
  EXPECT_EQ(handler.Extract().result, S_OK);
}

// --- IExtractIconW -----------------------------------------------------------

TEST_F(ShellFileIconTest, TellsTheShellThatThereIsNoFileAndNothingToKeep) {
  for (const wchar_t* file : {report_.c_str(), L"C:\\sync\\report.txt", L""}) {
    const IconHandler handler(file);
    for (const UINT asked : {0u, UINT{GIL_OPENICON}, UINT{GIL_FORSHELL | GIL_ASYNC}}) {
      wchar_t place[] = L"untouched";
      int index = 17;
      UINT flags = 0;
      EXPECT_EQ(handler.Icons().GetIconLocation(asked, place, 9, &index, &flags), S_OK);
      EXPECT_EQ(flags, 0x18u);
      EXPECT_STREQ(place, L"untouched");
      EXPECT_EQ(index, 17);
    }
  }
}

TEST_F(ShellFileIconTest, TheFlagsOfALocationNeedNotBeAskedFor) {
  EXPECT_EQ(IconHandler(report_).Icons().GetIconLocation(0, nullptr, 0, nullptr, nullptr), S_OK);
}

TEST_F(ShellFileIconTest, DrawsPlaceholdersWhateverTheCaseOfTheirExtension) {
  for (const wchar_t* file : {report_.c_str(), L"C:\\sync\\a.GHPL", L"C:\\sync\\a.txt.GhPl", L".ghpl"}) {
    const ExtractedIcons icons = IconHandler(file).Extract();
    EXPECT_EQ(icons.result, S_OK) << file;
    EXPECT_TRUE(icons.large) << file;
    EXPECT_TRUE(icons.small) << file;
  }
}

TEST_F(ShellFileIconTest, LeavesEverythingElseToTheShell) {
  for (const wchar_t* file :
       {L"", L"C:\\sync\\a", L"C:\\sync\\a.ghpl.txt", L"C:\\sync\\a.ghp", L"C:\\sync\\a.ghplx",
        L"C:\\sync\\a.\xff47hpl", L"C:\\sync.ghpl\\a", L"C:\\sync\\a.ghpl "}) {
    const IconHandler handler(file);
    HICON large = reinterpret_cast<HICON>(1), small = reinterpret_cast<HICON>(2);
    EXPECT_EQ(handler.Icons().Extract(report_.c_str(), 0, &large, &small, kTwoSizes), E_NOTIMPL) << file;
    EXPECT_EQ(large, reinterpret_cast<HICON>(1));
    EXPECT_EQ(small, reinterpret_cast<HICON>(2));
  }
}

TEST_F(ShellFileIconTest, HasNothingToDrawBeforeLoad) {
  EXPECT_EQ(IconHandler().Extract().result, E_NOTIMPL);
}

TEST_F(ShellFileIconTest, TwoSizesGiveALargeAndASmallIcon) {
  const IconHandler handler(report_);
  for (const UINT size : {0x00100020u, 0x00300100u, 0x00100000u, 0x00000010u}) {
    const ExtractedIcons icons = handler.Extract(size);
    EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), large_)) << std::hex << size;
    EXPECT_TRUE(LooksLike(PixelsOf(icons.small.Get()), small_)) << std::hex << size;
  }
}

TEST_F(ShellFileIconTest, OneSizeTwiceGivesTheSmallIconAndACopy) {
  const IconHandler handler(report_);
  for (const UINT size : {0x00300030u, 0x00100010u, 0u}) {
    const ExtractedIcons icons = handler.Extract(size);
    EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), small_)) << std::hex << size;
    EXPECT_TRUE(LooksLike(PixelsOf(icons.small.Get()), small_)) << std::hex << size;
    EXPECT_NE(icons.large.Get(), icons.small.Get());
  }
  EXPECT_EQ(CacheSize(), 2u);  // nothing of the large class
}

TEST_F(ShellFileIconTest, AHostMayAskForOneIconOnly) {
  const IconHandler handler(report_);
  for (const UINT size : {kTwoSizes, kOneSize}) {
    UniqueIcon large, small;
    EXPECT_EQ(handler.Icons().Extract(report_.c_str(), 0, large.Out(), nullptr, size), S_OK);
    EXPECT_TRUE(LooksLike(PixelsOf(large.Get()), size == kTwoSizes ? large_ : small_)) << std::hex << size;
    EXPECT_EQ(handler.Icons().Extract(report_.c_str(), 0, nullptr, small.Out(), size), S_OK);
    EXPECT_TRUE(LooksLike(PixelsOf(small.Get()), small_)) << std::hex << size;
    EXPECT_EQ(handler.Icons().Extract(report_.c_str(), 0, nullptr, nullptr, size), S_OK);
  }
  HICON icon = nullptr;
  handler.Load(L"C:\\sync\\report.vkx");
  EXPECT_EQ(handler.Icons().Extract(report_.c_str(), 0, nullptr, &icon, kTwoSizes), E_NOTIMPL);
}

TEST_F(ShellFileIconTest, AnIconThatNobodyAsksForIsNotMade) {
  const IconHandler handler(report_);
  { const ExtractedIcons icons = handler.Extract(); }  // fills the Shell's own caches
  test::EmptyCache();
  const size_t gdiHandles = test::CountGdiHandles();
  for (const UINT size : {kTwoSizes, kOneSize}) {
    UniqueIcon icon;
    handler.Icons().Extract(report_.c_str(), 0, nullptr, nullptr, size);
    EXPECT_EQ(CacheSize(), 0u);
    handler.Icons().Extract(report_.c_str(), 0, nullptr, icon.Out(), size);
    EXPECT_EQ(CacheSize(), 2u);  // nothing of the large class
    test::EmptyCache();
    handler.Icons().Extract(report_.c_str(), 0, icon.Out(), nullptr, size);
    EXPECT_EQ(CacheSize(), 2u);  // of one class alone
    test::EmptyCache();
    icon.Reset();
    EXPECT_EQ(test::CountGdiHandles(), gdiHandles) << std::hex << size;
  }
}

TEST_F(ShellFileIconTest, FollowsTheProgress) {
  const IconHandler handler(report_);
  for (const int progress : {0, 45, 100}) {
    folder_.Mark(L"report.vkx.ghpl", {progress});
    const Golden golden = test::GoldenIcon(test::DrawnOnEmpty(SolidPattern(16)), progress);
    EXPECT_TRUE(LooksLike(PixelsOf(handler.Extract().small.Get()), golden)) << progress;
  }
}

TEST_F(ShellFileIconTest, DestroyingAHandlerEmptiesTheCacheUnderAnother) {
  const IconHandler living(report_);
  {
    const IconHandler dying(report_);
    living.Extract();
    EXPECT_EQ(CacheSize(), 4u);
  }
  EXPECT_EQ(CacheSize(), 0u);
  const ExtractedIcons icons = living.Extract();
  EXPECT_EQ(CacheSize(), 4u);
  EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), large_));
  EXPECT_TRUE(LooksLike(PixelsOf(icons.small.Get()), small_));
}

TEST_F(ShellFileIconTest, IconsOutliveTheirHandler) {
  ExtractedIcons icons = IconHandler(report_).Extract();
  EXPECT_TRUE(LooksLike(PixelsOf(icons.large.Get()), large_));
}

}  // namespace
}  // namespace veskard
