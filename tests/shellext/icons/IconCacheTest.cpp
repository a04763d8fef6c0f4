#include "shellext/icons/IconCache.h"

#include <gtest/gtest.h>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

class IconCacheTest : public testing::Test {
 protected:
  static UniqueGpBitmap Small() { return NewBitmap({1, 1, PixelFormat32bppARGB}); }

  const test::StartedGdiplus gdiplus_;
  IconCache cache_;
};

TEST_F(IconCacheTest, HasNothingAtFirst) {
  EXPECT_EQ(cache_.Size(), 0u);
  EXPECT_EQ(cache_.Find(L".docxL"), nullptr);
}

TEST_F(IconCacheTest, GivesBackWhatItKeeps) {
  UniqueGpBitmap bitmap = Small();
  Gdiplus::GpBitmap* const raw = bitmap.Get();
  EXPECT_EQ(cache_.Store(L".docxL", std::move(bitmap)), raw);
  EXPECT_EQ(cache_.Find(L".docxL"), raw);
  EXPECT_EQ(cache_.Find(L".docxS"), nullptr);
  EXPECT_EQ(cache_.Find(L".DOCXL"), nullptr);
}

TEST_F(IconCacheTest, StoringUnderAKeyAgainReplacesItsBitmap) {
  cache_.Store(L"45L", Small());
  UniqueGpBitmap second = Small();
  Gdiplus::GpBitmap* const raw = second.Get();
  cache_.Store(L"45L", std::move(second));
  EXPECT_EQ(cache_.Find(L"45L"), raw);
  EXPECT_EQ(cache_.Size(), 1u);
}

TEST_F(IconCacheTest, ClearingForgetsEverything) {
  cache_.Store(L"45L", Small());
  cache_.Store(L".docxL", Small());
  cache_.Clear();
  EXPECT_EQ(cache_.Size(), 0u);
  EXPECT_EQ(cache_.Find(L"45L"), nullptr);
}

TEST_F(IconCacheTest, DestroysWhatItReplacesAndWhatItForgets) {
  const test::WatchedCalls calls{"GdipDisposeImage"};
  cache_.Store(L"45L", Small());
  cache_.Store(L".docxL", Small());
  EXPECT_EQ(calls.Of("GdipDisposeImage"), 0);
  cache_.Store(L"45L", Small());
  EXPECT_EQ(calls.Of("GdipDisposeImage"), 1);
  cache_.Clear();
  EXPECT_EQ(calls.Of("GdipDisposeImage"), 3);
}

struct TypeIconKeyCase {
  const wchar_t* targetName;
  bool large;
  const wchar_t* key;
};

constexpr TypeIconKeyCase kTypeIconKeys[] = {
    {L"C:\\f\\report.docx", true, L".docxL"},
    {L"C:\\f\\report.docx", false, L".docxS"},
    {L"C:\\f\\report.DOCX", false, L".DOCXS"},
    {L"C:\\f\\archive.tar.gz", true, L".gzL"},
    {L"C:\\f\\README", false, L".S"},
    {L"C:\\f\\README", true, L".L"},
    {L"C:\\f\\folder.vlk2fldr", true, L".vlk2fldrL"},
    {L"C:\\f\\ends.with.", true, L".L"},
    {L"C:\\dotted.d\\README", true, L".d\\READMEL"},
    {L"", false, L".S"},
};

TEST(IconKeysTest, ATypeIsItsNameFromTheLastDotAndTheSizeClass) {
  for (const auto& [targetName, large, key] : kTypeIconKeys) EXPECT_EQ(TypeIconKey(targetName, large), key);
}

TEST(IconKeysTest, ABadgeIsItsProgressAndTheSizeClass) {
  EXPECT_EQ(BadgeKey(45, true), L"45L");
  EXPECT_EQ(BadgeKey(0, false), L"0S");
  EXPECT_EQ(BadgeKey(100, false), L"100S");
  EXPECT_EQ(BadgeKey(-5, true), L"-5L");
}

TEST(SharedIconCacheTest, IsOneForAll) {
  EXPECT_EQ(&SharedIconCache(), &SharedIconCache());
}

}  // namespace
}  // namespace veskard
