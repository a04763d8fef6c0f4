#include "core/CriticalSection.h"

#include <gtest/gtest.h>

#include <thread>

namespace veskard {
namespace {

TEST(CriticalSectionTest, OneThreadMayEnterTwice) {
  CriticalSection section;
  const CriticalSectionHold outer(section);
  const CriticalSectionHold inner(section);
}

TEST(CriticalSectionTest, ThreadsTakeTurns) {
  CriticalSection section;
  int count = 0;
  auto add = [&] {
    for (int i = 0; i < 10000; ++i) {
      const CriticalSectionHold hold(section);
      ++count;
    }
  };
  std::thread first(add);
  std::thread second(add);
  first.join();
  second.join();
  EXPECT_EQ(count, 20000);
}

TEST(CriticalSectionTest, TryingToEnterFailsWhileAnotherThreadIsInside) {
  CriticalSection section;
  bool entered = true;
  const auto attempt = [&] {
    entered = section.TryEnter();
    if (entered) section.Leave();
  };
  {
    const CriticalSectionHold hold(section);
    std::thread(attempt).join();
    EXPECT_FALSE(entered);
    attempt();
    EXPECT_TRUE(entered);  // the same thread may
  }
  std::thread(attempt).join();
  EXPECT_TRUE(entered);
}

TEST(CriticalSectionTest, NoLockHoldsNothing) {
  const CriticalSectionHold hold(nullptr);
}

}  // namespace
}  // namespace veskard
