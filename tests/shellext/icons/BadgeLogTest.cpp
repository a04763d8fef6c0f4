// The line that a badge leaves in the log.
#include <gtest/gtest.h>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/icons/StatusCircle.h"
#include "shellext/module/DiagnosticLog.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/StartedGdiplus.h"

namespace veskard {
namespace {

class BadgeLogTest : public test::LogFixture {
 protected:
  BadgeLogTest() { CreateLog(); }
  ~BadgeLogTest() override { CloseLogAtDetach(Detach::kUnload); }

  const test::StartedGdiplus gdiplus_;
  const UniqueGpBitmap bitmap_ = NewBitmap({16, 16, PixelFormat32bppARGB});
};

using Texts = std::vector<std::wstring>;

TEST_F(BadgeLogTest, EveryBadgeDrawnIsNoted) {
  DrawStatusCircle(bitmap_.Get(), 45);
  DrawStatusCircle(bitmap_.Get(), 0);
  DrawStatusCircle(bitmap_.Get(), 100);
  EXPECT_EQ(Messages(), (Texts{L"=== start ===", L"Drawing circle with 45 status",
                               L"Drawing circle with 0 status", L"Drawing circle with 100 status"}));
}

TEST_F(BadgeLogTest, WhatDrawsNothingNotesNothing) {
  DrawStatusCircle(bitmap_.Get(), -1);
  DrawStatusCircle(bitmap_.Get(), -5);
  DrawStatusCircle(nullptr, 45);
  EXPECT_EQ(Messages(), Texts{L"=== start ==="});
}

}  // namespace
}  // namespace veskard
