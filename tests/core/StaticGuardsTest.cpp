// Function-local statics, as every thread-safe initialisation of the library uses
// them: the language's rules hold with our guards as well.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace veskard {
namespace {

std::atomic<int> slowInitializations = 0;

int SlowInitialization() {
  ::Sleep(50);  // long enough for every other thread to come by
  return ++slowInitializations;
}

int SlowStatic() {
  static const int value = SlowInitialization();
  return value;
}

TEST(StaticGuardsTest, ThreadsThatComeTogetherInitializeOnce) {
  std::atomic<int> sum = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) threads.emplace_back([&] { sum += SlowStatic(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(slowInitializations, 1);
  EXPECT_EQ(sum, 16);
}

int attempts = 0;

int ThirdTimeLucky() {
  if (++attempts < 3) throw std::runtime_error("not yet");
  return attempts;
}

int StubbornStatic() {
  static const int value = ThirdTimeLucky();
  return value;
}

TEST(StaticGuardsTest, AnInitializationThatThrewIsTriedAgain) {
  EXPECT_THROW(StubbornStatic(), std::runtime_error);
  EXPECT_THROW(StubbornStatic(), std::runtime_error);
  EXPECT_EQ(StubbornStatic(), 3);
  EXPECT_EQ(StubbornStatic(), 3);
}

int InnerStatic() {
  static const int value = static_cast<int>(::GetCurrentProcessId());
  return value;
}

int OuterStatic() {
  static const int value = InnerStatic() + 1;
  return value;
}

TEST(StaticGuardsTest, OneInitializationMayNeedAnotherStatic) {
  EXPECT_EQ(OuterStatic(), InnerStatic() + 1);
}

int CrossingInitialization();

int CrossingStatic() {
  static const int value = CrossingInitialization();
  return value;
}

int OtherThreadsStatic() {
  static const int value = static_cast<int>(::GetCurrentThreadId());
  return value;
}

int CrossingInitialization() {
  int seen = 0;
  std::thread([&] { seen = OtherThreadsStatic(); }).join();
  return seen;
}

TEST(StaticGuardsTest, AnInitializationDoesNotHoldUpOtherStatics) {
  EXPECT_EQ(CrossingStatic(), OtherThreadsStatic());
}

}  // namespace
}  // namespace veskard
