// Loading and unloading the built library, and what its objects leave behind.
#include <gmock/gmock.h>
#include <objbase.h>
#include <wrl/client.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/LoadObserver.h"
#include "tests/support/ManyThreads.h"
#include "tests/support/ProcessResources.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using Microsoft::WRL::ComPtr;
using test::CountProcessResources;
using test::ExpectNoGrowth;
using test::ExtensionLibrary;
using test::ProcessResources;

class LibraryLifeTest : public test::LogFixture {
 protected:
  /// One round of everything that a host does with a class.
  static void CreateAndRelease(const ExtensionLibrary& library, unsigned index) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(library.DllGetClassObject(ClassId(index), IID_PPV_ARGS(&factory)), S_OK);
    ComPtr<IUnknown> object;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
  }
};

// ---- Loading

// clang-format off
const std::initializer_list<test::Watch> kNotAtLoad = {
    "CreateFileW", "FindFirstFileExW", "GetFileAttributesW", "GetModuleFileNameW", "CreateProcessW", "OpenMutexW",
    "RegOpenKeyExW", "RegCreateKeyExW", "RegQueryValueExW", "RegSetValueExW", "RegDeleteKeyW",
    "SHGetSpecialFolderPathW", "SHGetFileInfoW", "SHChangeNotify", "LoadImageW", "LoadLibraryExW", "FindResourceW",
    "LoadResource", "GetUserPreferredUILanguages"};
// clang-format on

TEST_F(LibraryLifeTest, LoadingTouchesNeitherFilesNorRegistry) {
  std::optional<test::WatchedCalls> calls;
  const test::LoadObserver observer(L"VeskardShellExt.dll",
                                    [&](HMODULE library) { calls.emplace(library, kNotAtLoad); });
  const ExtensionLibrary library;
  ASSERT_TRUE(calls.has_value());
  EXPECT_EQ(calls->Numbers(test::Threads::kAll), test::CallNumbers());
  calls.reset();
  EXPECT_EQ(Lines().size(), 0u);
}

TEST_F(LibraryLifeTest, UnloadingAnUnusedLibraryTouchesNothing) {
  ExtensionLibrary library;
  // Never undone: the library goes first.
  const auto* const calls = new test::WatchedCalls(library.Module(), kNotAtLoad);
  library.Unload();
  EXPECT_EQ(calls->Numbers(test::Threads::kAll), test::CallNumbers());
}

// ---- The first class object

TEST_F(LibraryLifeTest, ThreadsThatComeTogetherOpenOneLog) {
  for (int round = 0; round < 20; ++round) {
    ExtensionLibrary library;
    std::atomic<int> missing = 8;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
      threads.emplace_back([&] {
        --missing;
        while (missing > 0) ::Sleep(0);
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(library.DllGetClassObject(ClassId(5), IID_PPV_ARGS(&factory)), S_OK);
        EXPECT_NE(::GetFileAttributesW(File().c_str()), INVALID_FILE_ATTRIBUTES) << "not open yet";
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(Messages(), ::testing::ElementsAre(L"=== start ==="));
    library.Unload();
    ASSERT_TRUE(::DeleteFileW(File().c_str()));
  }
}

TEST_F(LibraryLifeTest, AFirstClassObjectWithoutMemoryAnswersNullAndTheNextOneSucceeds) {
  bool failed = true;
  size_t request = 1;
  for (; failed; ++request) {
    const ExtensionLibrary library;
    const test::WatchedCalls heap(library.Module(), test::kHeapCalls);
    void* out = this;
    HRESULT result = E_UNEXPECTED;
    {
      const test::ArmedFault failing(test::Allocation(request));
      result = library.DllGetClassObject(ClassId(5), IID_IClassFactory, &out);
      failed = failing.Happened();
    }
    if (FAILED(result)) {
      EXPECT_EQ(result, E_OUTOFMEMORY) << request;
      EXPECT_EQ(out, nullptr) << request;
    } else {
      static_cast<IUnknown*>(out)->Release();
    }
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(library.DllGetClassObject(ClassId(5), IID_PPV_ARGS(&factory)), S_OK) << request;
  }
  EXPECT_GT(request, 3u);
}

// ---- Exceptions in many threads

/// Asks for a class object from many threads at the same time, which have not been in the
/// library before. Half of them are older than the library, and every other one lives for as
/// long as this does.
class Crowd {
 public:
  Crowd() { Start(count_ / 2); }
  ~Crowd() {
    ::SetEvent(end_.Get());
    for (const UniqueHandle& thread : threads_) ::WaitForSingleObject(thread.Get(), INFINITE);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  int Count() const noexcept { return count_; }

  /// Returns when all have their answer: the number of answers "out of memory".
  int Ask(const ExtensionLibrary& library) {
    Start(count_ - count_ / 2);
    library_ = &library;
    ::SetEvent(go_.Get());
    while (answered_ < count_) ::Sleep(1);
    return refused_;
  }

 private:
  void Start(int count) {
    constexpr SIZE_T kStack = 256 * 1024;
    for (int i = 0; i < count; ++i) {
      threads_.emplace_back(::CreateThread(nullptr, kStack, i % 2 == 0 ? &AskAndEnd : &AskAndLiveOn, this,
                                           STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
      EXPECT_TRUE(threads_.back()) << i;
    }
  }
  static DWORD WINAPI AskAndEnd(void* self) {
    static_cast<Crowd*>(self)->AskWithTheOthers();
    return 0;
  }
  static DWORD WINAPI AskAndLiveOn(void* self) {
    AskAndEnd(self);
    ::WaitForSingleObject(static_cast<Crowd*>(self)->end_.Get(), INFINITE);
    return 0;
  }
  void AskWithTheOthers() {
    ::WaitForSingleObject(go_.Get(), INFINITE);
    void* out = this;
    const HRESULT result = library_->DllGetClassObject(ClassId(5), IID_IClassFactory, &out);
    if (result == E_OUTOFMEMORY && out == nullptr) ++refused_;
    ++answered_;
  }

  const int count_ = test::ManyThreads();
  const UniqueHandle go_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const UniqueHandle end_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const ExtensionLibrary* library_ = nullptr;
  std::atomic<int> answered_ = 0, refused_ = 0;
  std::vector<UniqueHandle> threads_;
};

TEST_F(LibraryLifeTest, ManyLivingThreadsMayRunOutOfMemoryAtOnce) {
  Crowd crowd;  // some of it lives until the library is gone
  ExtensionLibrary library;
  {
    const test::WatchedCalls heap(library.Module(), test::kHeapCalls);
    const test::ArmedFault outOfMemory(
        {.number = 1, .span = test::FaultSpan::kFromThen, .threads = test::Threads::kAll});
    EXPECT_EQ(crowd.Ask(library), crowd.Count());
  }
  CreateAndRelease(library, 5);
  library.Unload();
}

// ---- Unloading

TEST_F(LibraryLifeTest, UnloadingWhileObjectsLiveIsSurvived) {
  for (int round = 0; round < 20; ++round) {
    ExtensionLibrary library;
    for (const unsigned index : {5u, 6u}) {
      IClassFactory* factory = nullptr;
      ASSERT_EQ(library.DllGetClassObject(ClassId(index), IID_PPV_ARGS(&factory)), S_OK);
      IUnknown* object = nullptr;
      ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    }
    library.Unload();
    EXPECT_EQ(::GetModuleHandleW(L"VeskardShellExt.dll"), nullptr);
  }
  const std::vector<std::wstring> messages = Messages();
  EXPECT_EQ(messages.size(), 40u);
  EXPECT_EQ(messages.back(), L"==== end ====");
}

// ---- Growth

TEST_F(LibraryLifeTest, TenThousandObjectsOfEachClassLeaveNothing) {
  constexpr size_t kRounds = 10'000;
  for (const DWORD log : {0u, 1u}) {
    SetSwitch(log);
    const ExtensionLibrary library;
    for (const unsigned index : {5u, 6u}) {
      for (int warm = 0; warm < 100; ++warm) CreateAndRelease(library, index);
      const ProcessResources before = CountProcessResources();
      for (size_t round = 0; round < kRounds; ++round) CreateAndRelease(library, index);
      ExpectNoGrowth(before, CountProcessResources(), kRounds);
    }
  }
}

TEST_F(LibraryLifeTest, FiveHundredLoadsLeaveNothing) {
  constexpr size_t kRounds = 500;
  const auto round = [&] {
    const ExtensionLibrary library;
    CreateAndRelease(library, 5);
    CreateAndRelease(library, 6);
  };
  for (int warm = 0; warm < 20; ++warm) round();
  const ProcessResources before = CountProcessResources();
  for (size_t i = 0; i < kRounds; ++i) round();
  ExpectNoGrowth(before, CountProcessResources(), kRounds);
}

}  // namespace
}  // namespace veskard
