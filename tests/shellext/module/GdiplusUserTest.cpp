#include "shellext/module/GdiplusUser.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

#include "core/GdiplusFunctions.h"
#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

/// Stands at the two calls and can refuse the first.
class GdiplusUserTest : public ::testing::Test {
 protected:
  GdiplusUserTest()
      : start_(nullptr, "GdiplusStartup", &CountingStart), stop_(nullptr, "GdiplusShutdown", &CountingStop) {
    self_ = this;
  }

  static Gdiplus::Status WINAPI CountingStart(ULONG_PTR* token, const Gdiplus::GdiplusStartupInput* input,
                                              Gdiplus::GdiplusStartupOutput* output) {
    ++self_->starts;
    self_->lastInput = *input;
    if (self_->refuse) return Gdiplus::GenericError;
    return self_->start_.CallOriginal(token, input, output);
  }
  static void WINAPI CountingStop(ULONG_PTR token) {
    ++self_->stops;
    self_->stop_.CallOriginal(token);
  }

  int starts = 0;
  int stops = 0;
  bool refuse = false;
  Gdiplus::GdiplusStartupInput lastInput;

 private:
  inline static GdiplusUserTest* self_ = nullptr;
  test::FunctionPatch<decltype(Gdiplus::GdiplusStartup)> start_;
  test::FunctionPatch<decltype(Gdiplus::GdiplusShutdown)> stop_;
};

TEST_F(GdiplusUserTest, AUserWhoDrawsNothingStartsNothing) {
  {
    const GdiplusUser first;
    const GdiplusUser second;
    EXPECT_EQ(GdiplusUserCount(), 2u);
  }
  EXPECT_EQ(GdiplusUserCount(), 0u);
  EXPECT_EQ(starts, 0);
  EXPECT_EQ(stops, 0);
}

TEST_F(GdiplusUserTest, TheFirstDrawingStartsAndTheLastUserStops) {
  {
    const GdiplusUser first;
    {
      const GdiplusUser second;
      EXPECT_TRUE(StartGdiplus());
      EXPECT_TRUE(StartGdiplus());
      EXPECT_EQ(starts, 1);
    }
    EXPECT_EQ(GdiplusUserCount(), 1u);
    EXPECT_EQ(stops, 0);
  }
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 1);
}

TEST_F(GdiplusUserTest, WhoeverStartedItMayLeaveFirst) {
  std::optional<GdiplusUser> first(std::in_place);
  EXPECT_TRUE(StartGdiplus());
  std::optional<GdiplusUser> second(std::in_place);
  first.reset();
  EXPECT_EQ(stops, 0);
  second.reset();
  EXPECT_EQ(stops, 1);
}

TEST_F(GdiplusUserTest, WithoutAUserItDoesNotStart) {
  EXPECT_FALSE(StartGdiplus());
  EXPECT_EQ(starts, 0);
}

TEST_F(GdiplusUserTest, StartsAgainAfterTheLastOneLeft) {
  for (int round = 0; round < 3; ++round) {
    const GdiplusUser user;
    EXPECT_TRUE(StartGdiplus());
  }
  EXPECT_EQ(starts, 3);
  EXPECT_EQ(stops, 3);
}

TEST_F(GdiplusUserTest, StartsVersionOneWithNothingSuppressed) {
  const GdiplusUser user;
  EXPECT_TRUE(StartGdiplus());
  EXPECT_EQ(lastInput.GdiplusVersion, 1u);
  EXPECT_EQ(lastInput.DebugEventCallback, nullptr);
  EXPECT_FALSE(lastInput.SuppressBackgroundThread);
  EXPECT_FALSE(lastInput.SuppressExternalCodecs);
}

TEST_F(GdiplusUserTest, AFailingStartIsReportedAndNotStopped) {
  refuse = true;
  {
    const GdiplusUser user;
    EXPECT_FALSE(StartGdiplus());
    EXPECT_EQ(GdiplusUserCount(), 1u);
  }
  EXPECT_EQ(GdiplusUserCount(), 0u);
  EXPECT_EQ(stops, 0);
}

TEST_F(GdiplusUserTest, AFailingStartIsTriedAgainByTheNextDrawing) {
  {
    const GdiplusUser user;
    refuse = true;
    EXPECT_FALSE(StartGdiplus());
    refuse = false;
    EXPECT_TRUE(StartGdiplus());
  }
  EXPECT_EQ(starts, 2);
  EXPECT_EQ(stops, 1);
}

TEST_F(GdiplusUserTest, ThreadsShareOneStart) {
  {
    const GdiplusUser keeper;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
      threads.emplace_back([] {
        for (int round = 0; round < 200; ++round) {
          const GdiplusUser user;
          EXPECT_TRUE(StartGdiplus());
        }
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(GdiplusUserCount(), 1u);
  }
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 1);
}

}  // namespace
}  // namespace veskard
