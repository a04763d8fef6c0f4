// Exceptions when memory has ended, and of many threads.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

std::atomic<bool> memoryEnded = false;

void* RefuseMalloc(size_t size) {
  return memoryEnded ? nullptr : std::calloc(1, size);
}

/// No heap at all for as long as it lives.
class NoMemory {
 public:
  NoMemory() { memoryEnded = true; }
  ~NoMemory() { memoryEnded = false; }
};

class ExceptionMemoryTest : public testing::Test {
 protected:
  const test::ImportPatch malloc_{nullptr, "malloc", reinterpret_cast<void*>(&RefuseMalloc)};
};

// Throws and catches inside one another, each level rethrowing once.
int Nest(int depth) {
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    const int inner = depth == 0 ? 0 : Nest(depth - 1);
    try {
      throw;
    } catch (const std::exception&) {
      return inner + 1;
    }
  }
}

TEST_F(ExceptionMemoryTest, AThreadsFirstExceptionNeedsNoHeap) {
  int caught = 0;
  std::thread thread([&] {
    const NoMemory none;
    caught = Nest(0);
  });
  thread.join();
  EXPECT_EQ(caught, 1);
}

TEST_F(ExceptionMemoryTest, ExceptionsInsideOneAnotherNeedNoHeap) {
  const NoMemory none;
  EXPECT_EQ(Nest(20), 21);
  EXPECT_EQ(std::uncaught_exceptions(), 0);
}

TEST_F(ExceptionMemoryTest, WhatIsGivenBackIsThereAgain) {
  const NoMemory none;
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(Nest(1), 2) << i;
}

TEST_F(ExceptionMemoryTest, ThreadsThatHaveEndedMakeRoomForOthers) {
  for (int i = 0; i < 1500; ++i) {
    int caught = 0;
    std::thread([&] { caught = Nest(0); }).join();
    ASSERT_EQ(caught, 1) << i;
  }
}

TEST_F(ExceptionMemoryTest, EachThreadHasItsOwnExceptions) {
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int number = 0; number < 16; ++number) {
    threads.emplace_back([&right, number] {
      for (int i = 0; i < 500; ++i) {
        try {
          throw std::runtime_error(std::to_string(number));
        } catch (const std::runtime_error& error) {
          right += error.what() == std::to_string(number) && Nest(2) == 3 ? 1 : 0;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 16 * 500);
}

TEST_F(ExceptionMemoryTest, AnExceptionMayOutliveItsThreadAndBeThrownTwice) {
  std::exception_ptr kept;
  std::thread([&] {
    try {
      throw std::runtime_error("kept");
    } catch (...) {
      kept = std::current_exception();
    }
  }).join();
  for (int i = 0; i < 2; ++i) EXPECT_THROW(std::rethrow_exception(kept), std::runtime_error);
}

}  // namespace
}  // namespace veskard
