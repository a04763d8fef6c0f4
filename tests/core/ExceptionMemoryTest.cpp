// Exceptions when memory has ended, and of many threads.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"
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

// --- More threads than there are records ---

constexpr int kMoreThanRecords = 600;

DWORD WINAPI ThrowAndCatch(void*) {
  return static_cast<DWORD>(Nest(0));
}

/// Threads that have thrown and ended. Their handles stay open for as long as this
/// lives, so that the system gives none of their ids to another thread.
class EndedThreads {
 public:
  explicit EndedThreads(int count) {
    for (int i = 0; i < count; ++i) {
      DWORD id = 0, caught = 0;
      const UniqueHandle& thread =
          threads_.emplace_back(::CreateThread(nullptr, 0, &ThrowAndCatch, nullptr, 0, &id));
      EXPECT_EQ(::WaitForSingleObject(thread.Get(), 60'000), WAIT_OBJECT_0);
      EXPECT_TRUE(::GetExitCodeThread(thread.Get(), &caught));
      EXPECT_EQ(caught, 1u) << i;
      EXPECT_TRUE(ids_.insert(id).second) << "an id comes back";
    }
  }

 private:
  std::vector<UniqueHandle> threads_;
  std::set<DWORD> ids_;
};

TEST_F(ExceptionMemoryTest, ThreadsThatHaveEndedMakeRoomForOthers) {
  const EndedThreads ended(kMoreThanRecords);
}

TEST_F(ExceptionMemoryTest, ThreadsThatAreGoneMakeRoomForOthers) {
  { const EndedThreads gone(kMoreThanRecords); }
  const EndedThreads ended(kMoreThanRecords);
}

decltype(&::OpenThread) systemsOpenThread = nullptr;
DWORD threadThatCannotBeOpened = 0;
std::atomic<int> opened = 0;
std::atomic<int> refused = 0;

HANDLE WINAPI OpenOtherThread(DWORD access, BOOL inherits, DWORD id) {
  ++opened;
  if (id != threadThatCannotBeOpened) return systemsOpenThread(access, inherits, id);
  ++refused;
  ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
  return nullptr;
}

UniqueHandle HandleOfThisThread() {
  UniqueHandle handle;
  const HANDLE process = ::GetCurrentProcess();
  ::DuplicateHandle(process, ::GetCurrentThread(), process, handle.Out(), 0, FALSE, DUPLICATE_SAME_ACCESS);
  return handle;
}

enum class Kept { kYes, kNo, kNotTried };

// Whether a thread still has what it has caught when others have looked for a record and
// could not open it. Not tried on a thread whose id has a record from before: one that
// takes the first record that it can get is the first to be asked about.
Kept KeepWhileOthersLookForRecords() {
  opened = refused = 0;
  try {
    throw std::runtime_error("in flight");
  } catch (const std::exception&) {
    if (opened == 0) return Kept::kNotTried;
    threadThatCannotBeOpened = ::GetCurrentThreadId();
    const EndedThreads others(kMoreThanRecords);
    return std::current_exception() != nullptr ? Kept::kYes : Kept::kNo;
  }
}

TEST_F(ExceptionMemoryTest, AThreadThatCannotBeOpenedKeepsItsRecord) {
  const test::ImportPatch patch(nullptr, "OpenThread", reinterpret_cast<void*>(&OpenOtherThread));
  systemsOpenThread = reinterpret_cast<decltype(&::OpenThread)>(patch.Original());
  const EndedThreads ended(kMoreThanRecords);  // every record is somebody's
  std::vector<UniqueHandle> known;
  Kept kept = Kept::kNotTried;
  while (kept == Kept::kNotTried && known.size() < kMoreThanRecords) {
    std::thread([&] {
      known.push_back(HandleOfThisThread());
      kept = KeepWhileOthersLookForRecords();
    }).join();
  }
  EXPECT_EQ(kept, Kept::kYes);
  EXPECT_GT(refused, 0) << "nobody has asked about the thread";
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
