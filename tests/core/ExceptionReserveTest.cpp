// Exceptions of LLVM's run-time library when out of memory: it has a reserve in static data
// (scripts/arm64-sysroot.sh makes it as large as it is).
#include <gtest/gtest.h>
#include <malloc.h>
#include <windows.h>

#include <atomic>
#include <exception>
#include <new>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"
#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

using AlignedMalloc = void*(size_t size, size_t alignment);

std::atomic<bool> outOfMemory = false;
std::atomic<int> refused = 0;
AlignedMalloc* original = nullptr;

void* RefuseMemory(size_t size, size_t alignment) {
  if (!outOfMemory) return original(size, alignment);
  ++refused;
  return nullptr;
}

/// No memory for exceptions for as long as it lives.
class NoMemory {
 public:
  NoMemory() { outOfMemory = true; }
  ~NoMemory() { outOfMemory = false; }
};

class ExceptionReserveTest : public testing::Test {
 protected:
  ExceptionReserveTest() {
    original = reinterpret_cast<AlignedMalloc*>(patch_.Original());
    refused = 0;
  }

 private:
  // What the run-time library asks for an exception's memory.
  const test::ImportPatch patch_{nullptr, "_aligned_malloc", reinterpret_cast<void*>(&RefuseMemory)};
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

TEST_F(ExceptionReserveTest, AThreadsFirstExceptionNeedsNoHeap) {
  int caught = 0;
  std::thread thread([&] {
    const NoMemory none;
    caught = Nest(0);
  });
  thread.join();
  EXPECT_EQ(caught, 1);
  EXPECT_EQ(refused, 1);
}

TEST_F(ExceptionReserveTest, FiftyExceptionsInsideOneAnotherNeedNoHeap) {
  const NoMemory none;
  EXPECT_EQ(Nest(49), 50);
  EXPECT_EQ(refused, 50);
}

TEST_F(ExceptionReserveTest, WhatIsGivenBackIsThereAgain) {
  const NoMemory none;
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(Nest(1), 2) << i;
}

TEST_F(ExceptionReserveTest, ThreadsMayHoldExceptionsWithoutHeapAtTheSameTime) {
  constexpr int kThreads = 8;
  const UniqueHandle go(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const UniqueHandle end(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::atomic<int> holding = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      ::WaitForSingleObject(go.Get(), INFINITE);
      try {
        throw std::bad_alloc();
      } catch (const std::bad_alloc&) {
        ++holding;
        ::WaitForSingleObject(end.Get(), INFINITE);
      }
    });
  }
  {
    const NoMemory none;
    ::SetEvent(go.Get());
    for (int i = 0; holding < kThreads && i < 3000; ++i) ::Sleep(10);
    EXPECT_EQ(holding, kThreads);
    ::SetEvent(end.Get());
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(refused, kThreads);
}

}  // namespace
}  // namespace veskard
