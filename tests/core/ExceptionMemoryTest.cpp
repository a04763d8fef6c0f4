// Exceptions when out of memory, and of many threads.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/ManyThreads.h"

namespace veskard {
namespace {

// The C run-time library's functions take these two, or the first alone.
using Allocate = void*(size_t size, size_t alignment);

std::atomic<bool> outOfMemory = false;
Allocate* original = nullptr;

void* RefuseWhenOutOfMemory(size_t size, size_t alignment) {
  return outOfMemory ? nullptr : original(size, alignment);
}

/// Denies all heap memory during its lifetime.
class NoMemory {
 public:
  NoMemory() { outOfMemory = true; }
  ~NoMemory() { outOfMemory = false; }
};

class ExceptionMemoryTest : public testing::Test {
 protected:
  ExceptionMemoryTest() { original = reinterpret_cast<Allocate*>(patch_.Original()); }

 private:
  // What the run-time library asks for an exception's memory: EXCEPTION_ALLOCATOR.
  const test::ImportPatch patch_{nullptr, EXCEPTION_ALLOCATOR,
                                 reinterpret_cast<void*>(&RefuseWhenOutOfMemory)};
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
  EXPECT_EQ(Nest(49), 50);
  EXPECT_EQ(std::uncaught_exceptions(), 0);
}

TEST_F(ExceptionMemoryTest, WhatIsGivenBackIsThereAgain) {
  const NoMemory none;
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(Nest(1), 2) << i;
}

std::exception_ptr Thrown() {
  try {
    throw std::bad_alloc();
  } catch (...) {
    return std::current_exception();
  }
}

TEST_F(ExceptionMemoryTest, SpareMemoryMayBeGivenBackInAnyOrder) {
  std::array<size_t, 5> order = {0, 1, 2, 3, 4};
  const NoMemory none;
  do {
    std::array<std::exception_ptr, order.size()> held;
    for (std::exception_ptr& exception : held) exception = Thrown();
    for (const size_t i : order) held[i] = nullptr;
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(Nest(49), 50);
}

TEST_F(ExceptionMemoryTest, SpareMemoryIsAlignedForAnException) {
  constexpr uintptr_t kAlignment = 16;
  const NoMemory none;
  std::array<std::exception_ptr, 5> held;
  for (std::exception_ptr& exception : held) {
    exception = Thrown();
    try {
      std::rethrow_exception(exception);
    } catch (const std::bad_alloc& error) {
      EXPECT_EQ(reinterpret_cast<uintptr_t>(&error) % kAlignment, 0u);
    }
  }
}

// --- Many threads at once ---

/// Threads that throw and catch at the same time, none of them for the second time. Every
/// other one ends then, the others live on for as long as this does.
class Crowd {
 public:
  explicit Crowd(int count) {
    constexpr SIZE_T kStack = 256 * 1024;
    for (int i = 0; i < count; ++i) {
      threads_.emplace_back(::CreateThread(nullptr, kStack, i % 2 == 0 ? &ThrowAndEnd : &ThrowAndLiveOn, this,
                                           STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
      EXPECT_TRUE(threads_.back()) << i;
    }
  }
  ~Crowd() {
    ::SetEvent(end_.Get());
    for (const UniqueHandle& thread : threads_) ::WaitForSingleObject(thread.Get(), INFINITE);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  /// Returns when every thread has thrown.
  void Throw() {
    const auto count = static_cast<int>(threads_.size());
    while (ready_ < count) ::Sleep(1);
    ::SetEvent(go_.Get());
    while (done_ < count) ::Sleep(1);
  }

  /// How many threads have caught all that they have thrown.
  int Right() const noexcept { return right_; }

 private:
  static DWORD WINAPI ThrowAndEnd(void* self) {
    static_cast<Crowd*>(self)->ThrowWithTheOthers();
    return 0;
  }
  static DWORD WINAPI ThrowAndLiveOn(void* self) {
    ThrowAndEnd(self);
    ::WaitForSingleObject(static_cast<Crowd*>(self)->end_.Get(), INFINITE);
    return 0;
  }
  void ThrowWithTheOthers() {
    ++ready_;
    ::WaitForSingleObject(go_.Get(), INFINITE);
    if (Nest(1) == 2 && std::uncaught_exceptions() == 0) ++right_;
    ++done_;
  }

  const UniqueHandle go_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const UniqueHandle end_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<int> ready_ = 0, done_ = 0, right_ = 0;
  std::vector<UniqueHandle> threads_;
};

TEST_F(ExceptionMemoryTest, ManyLivingThreadsMayThrowAtOnce) {
  const int count = test::ManyThreads();
  Crowd crowd(count);
  crowd.Throw();
  EXPECT_EQ(crowd.Right(), count);
  EXPECT_EQ(Nest(0), 1);
}

TEST_F(ExceptionMemoryTest, ManyLivingThreadsMayThrowAtOnceWithoutHeap) {
  const int count = test::ManyThreads();
  Crowd crowd(count);
  {
    const NoMemory none;
    crowd.Throw();
  }
  EXPECT_EQ(crowd.Right(), count);
}

TEST_F(ExceptionMemoryTest, AThreadThatFindsNoSpareBlockWaitsForOne) {
  constexpr int kMoreThanBlocks = 100;
  std::atomic<bool> mayThrow = false, mayEnd = false;
  std::atomic<int> holding = 0, done = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kMoreThanBlocks; ++i) {
    threads.emplace_back([&] {
      while (!mayThrow) ::Sleep(1);
      try {
        throw std::bad_alloc();
      } catch (const std::bad_alloc&) {
        ++holding;
        while (!mayEnd) ::Sleep(1);
        Nest(0);  // and has one more block than those that wait for their first
      }
      ++done;
    });
  }
  int held = 0;
  {
    const NoMemory none;
    mayThrow = true;
    ::Sleep(300);
    held = holding;
    mayEnd = true;
    while (done < kMoreThanBlocks) ::Sleep(1);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LT(held, kMoreThanBlocks) << "no thread had to wait";
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
