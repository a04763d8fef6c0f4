// A handle with a lock: each operation that does anything waits for it first, and
// holds it until all is done.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <string_view>
#include <thread>

#include "fs/util/Files.h"
#include "fs/util/Handle.h"
#include "tests/fs/util/AllCalls.h"
#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Faults;
using test::WriteBytes;

// One operation, and the kinds of handles for which it does something: f file,
// d folder, l link, s stream. They are open, but where they must not be.
struct Operation {
  const char* name;
  std::string_view kinds;
  std::function<void(SyncHandle&, const std::wstring& source)> run;
  bool whileClosed = false;
};
using Text = std::wstring;
using enum HandleKind;

// clang-format off
const Operation kOperations[] = {
    {"Open",                "fdls", [](SyncHandle& h, const Text&) { h.Open(kModeQuery, 0, 0); }},
    {"Close",               "fdls", [](SyncHandle& h, const Text&) { h.Close(); }},
    {"IsOpen",              "fdls", [](SyncHandle& h, const Text&) { (void)h.IsOpen(); }},
    {"GetName",             "fdls", [](SyncHandle& h, const Text&) { (void)h.GetName(); }},
    {"GetSize",             "fdls", [](SyncHandle& h, const Text&) { h.GetSize(nullptr); }},
    {"GetModificationTime", "fdl",  [](SyncHandle& h, const Text&) { h.GetModificationTime(nullptr); }},
    {"GetStreams",          "fdl",  [](SyncHandle& h, const Text&) { h.GetStreams(); }},
    {"Seek",                "fs",   [](SyncHandle& h, const Text&) { h.Seek(0); }},
    {"SetSize",             "fs",   [](SyncHandle& h, const Text&) { h.SetSize(1); }},
    {"SetValidData",        "fdl",  [](SyncHandle& h, const Text&) { h.SetValidData(1); }},
    {"Read",                "fs",   [](SyncHandle& h, const Text&) { char byte; h.Read(&byte, 1); }},
    {"ReadAt",              "fs",   [](SyncHandle& h, const Text&) { char byte; h.ReadAt(&byte, 1, 0); }},
    {"Write",               "fls",  [](SyncHandle& h, const Text&) { h.Write(L"x", sizeof(L"x")); }},
    {"WriteAt",             "fs",   [](SyncHandle& h, const Text&) { h.WriteAt("x", 1, 0); }},
    {"Flush",               "fdls", [](SyncHandle& h, const Text&) { h.Flush(nullptr); }},
    {"CancelIo",            "fdls", [](SyncHandle& h, const Text&) { h.CancelIo(); }},
    {"IsDeletePending",     "fdls", [](SyncHandle& h, const Text&) { h.IsDeletePending(); }},
    {"CopyFrom a file",     "fs",   [](SyncHandle& h, const Text& s) { h.CopyFrom(s, kFile); }},
    {"CopyFrom a stream",   "fs",   [](SyncHandle& h, const Text& s) { h.CopyFrom(s + L"\\s", kStream); }},
    {"Create",              "fd",   [](SyncHandle& h, const Text&) { h.Create(); }, true},
    {"Delete",              "fdls", [](SyncHandle& h, const Text&) { h.Delete(true, nullptr); }},
};
// clang-format on

struct Kind {
  char letter;
  HandleKind kind;
  uint32_t mode;
  const wchar_t* pathEnd;
};
constexpr Kind kKinds[] = {{'f', kFile, 1, L""},
                           {'d', kFolder, kModeQuery, L""},
                           {'l', kSymlink, 1, L""},
                           {'s', kStream, 1, L"\\s"}};

// Sees one thread's way through one section: that it asks for it, how often it gets
// it, and which calls of the system it makes before and after.
class HandleLockTest : public testing::Test {
 protected:
  HandleLockTest() {
    WriteBytes(source_, "main");
    WriteBytes(source_ + L":s", "stream");
  }

  void Check(const Operation& operation, const Kind& kind) {
    const auto handle = Prepare(kind, !operation.whileClosed);
    auto lock = std::make_unique<CriticalSection>();
    section_ = lock.get();
    handle->SetLock(std::move(lock));
    Watch([&] { operation.run(*handle, source_); });
    section_ = nullptr;
    EXPECT_EQ(timesHeld_, 1);
    EXPECT_EQ(callsBefore_, 0u) << "calls of the system before the lock was asked for";
    EXPECT_EQ(callsUntilLeft_, callsInAll_) << "calls of the system after the lock was left";
  }

 private:
  std::shared_ptr<SyncHandle> Prepare(const Kind& kind, bool open) const {
    const std::wstring path = folder_ / L"object";
    ::DeleteFileW(path.c_str());
    DeleteTree(path);
    if (kind.kind == kFolder) {
      test::MakeFolder(path);
    } else {
      WriteBytes(path, "contents");
    }
    if (kind.kind == kStream) WriteBytes(path + L":s", "stream");
    auto handle = MakeHandle(PathVector(path + kind.pathEnd), kind.kind);
    EXPECT_EQ(open && handle->Open(kind.mode, 0, 0), open);
    return handle;
  }

  // Runs an operation on a thread of its own, which gets the section only when it has
  // asked for it.
  void Watch(const std::function<void()>& operation) {
    timesHeld_ = depth_ = 0;
    callsBefore_ = callsUntilLeft_ = callsInAll_ = 0;
    ::ResetEvent(askedOrDone_.Get());
    section_->Enter();
    std::thread thread([&] {
      watchedThread_ = ::GetCurrentThreadId();
      const test::ArmedFault counting({.kind = test::FaultKind::kSystemCall});
      operation();
      callsInAll_ = Faults::Requests();
      watchedThread_ = 0;
      ::SetEvent(askedOrDone_.Get());
    });
    ::WaitForSingleObject(askedOrDone_.Get(), INFINITE);
    section_->Leave();
    thread.join();
  }

  bool IsWatched(const CRITICAL_SECTION* section) const noexcept {
    return static_cast<const void*>(section) == section_ && ::GetCurrentThreadId() == watchedThread_;
  }

  const test::ScratchFolder folder_;
  const std::wstring source_ = folder_ / L"source";
  const UniqueHandle askedOrDone_{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  CriticalSection* section_ = nullptr;
  std::atomic<DWORD> watchedThread_ = 0;
  int depth_ = 0;
  int timesHeld_ = 0;
  size_t callsBefore_ = 0;
  size_t callsUntilLeft_ = 0;
  size_t callsInAll_ = 0;
  const test::AllCalls calls_;
  const test::Patched<&::EnterCriticalSection> enter_{"EnterCriticalSection",
                                                      [this](auto original, CRITICAL_SECTION* section) {
                                                        const bool isWatched = IsWatched(section);
                                                        if (isWatched && timesHeld_ == 0 && depth_ == 0) {
                                                          callsBefore_ = Faults::Requests();
                                                          ::SetEvent(askedOrDone_.Get());
                                                        }
                                                        original(section);
                                                        if (isWatched && depth_++ == 0) ++timesHeld_;
                                                      }};
  const test::Patched<&::LeaveCriticalSection> leave_{"LeaveCriticalSection",
                                                      [this](auto original, CRITICAL_SECTION* section) {
                                                        if (IsWatched(section) && --depth_ == 0)
                                                          callsUntilLeft_ = Faults::Requests();
                                                        original(section);
                                                      }};
};

TEST_F(HandleLockTest, EachOperationHoldsTheLockForItsWholeDuration) {
  for (const Kind& kind : kKinds) {
    for (const Operation& operation : kOperations) {
      if (operation.kinds.find(kind.letter) == operation.kinds.npos) continue;
      SCOPED_TRACE(std::string(operation.name) + " of kind " + kind.letter);
      Check(operation, kind);
    }
  }
}

}  // namespace
}  // namespace veskard
