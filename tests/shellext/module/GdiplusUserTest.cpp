#include "shellext/module/GdiplusUser.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

#include "core/GdiplusOwners.h"
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

TEST_F(GdiplusUserTest, TheFirstStartsAndTheLastStops) {
  {
    const GdiplusUser first;
    EXPECT_EQ(starts, 1);
    {
      const GdiplusUser second;
      EXPECT_EQ(GdiplusUserCount(), 2u);
    }
    EXPECT_EQ(GdiplusUserCount(), 1u);
    EXPECT_EQ(stops, 0);
  }
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 1);
  EXPECT_EQ(GdiplusUserCount(), 0u);
}

TEST_F(GdiplusUserTest, TheOrderOfLeavingDoesNotMatter) {
  std::optional<GdiplusUser> first(std::in_place);
  std::optional<GdiplusUser> second(std::in_place);
  first.reset();
  EXPECT_EQ(stops, 0);
  second.reset();
  EXPECT_EQ(stops, 1);
}

TEST_F(GdiplusUserTest, StartsAgainAfterTheLastOneLeft) {
  for (int round = 0; round < 3; ++round) const GdiplusUser user;
  EXPECT_EQ(starts, 3);
  EXPECT_EQ(stops, 3);
}

TEST_F(GdiplusUserTest, StartsVersionOneWithNothingSuppressed) {
  const GdiplusUser user;
  EXPECT_EQ(lastInput.GdiplusVersion, 1u);
  EXPECT_EQ(lastInput.DebugEventCallback, nullptr);
  EXPECT_FALSE(lastInput.SuppressBackgroundThread);
  EXPECT_FALSE(lastInput.SuppressExternalCodecs);
}

TEST_F(GdiplusUserTest, AFailingStartIsCountedAndNotStopped) {
  refuse = true;
  {
    const GdiplusUser user;
    EXPECT_EQ(GdiplusUserCount(), 1u);
  }
  EXPECT_EQ(GdiplusUserCount(), 0u);
  EXPECT_EQ(stops, 0);
}

TEST_F(GdiplusUserTest, AFailingStartIsNotRepeatedUntilAllHaveLeft) {
  refuse = true;
  {
    const GdiplusUser first;
    refuse = false;
    const GdiplusUser second;
    EXPECT_EQ(starts, 1);
  }
  const GdiplusUser third;
  EXPECT_EQ(starts, 2);
}

TEST_F(GdiplusUserTest, ThreadsShareOneStart) {
  {
    const GdiplusUser keeper;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
      threads.emplace_back([] {
        for (int round = 0; round < 200; ++round) const GdiplusUser user;
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(GdiplusUserCount(), 1u);
  }
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 1);
}

}  // namespace
}  // namespace veskard
