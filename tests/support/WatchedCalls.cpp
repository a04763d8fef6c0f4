#include "tests/support/WatchedCalls.h"

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"
#include "tools/common/ImportSlot.h"

namespace veskard::test {
namespace {

KnownCall* Find(std::string_view function) {
  KnownCall* const call = FindKnownCall(function);
  EXPECT_NE(call, nullptr) << function << " has no row in KnownCalls.cpp";
  return call;
}

}  // namespace

WatchedCalls::WatchedCalls(std::initializer_list<Watch> calls)
    : WatchedCalls(::GetModuleHandleW(nullptr), calls) {}

WatchedCalls::WatchedCalls(HMODULE module, std::initializer_list<Watch> calls) : module_(module) {
  for (const Watch& watch : calls) {
    KnownCall* const call = Find(watch.name);
    if (call == nullptr) continue;
    void** const slot = FindImport(module, watch.name);
    EXPECT_NE(slot, nullptr) << watch.name << " is not imported";
    if (slot == nullptr) continue;
    PutInFront(*call, slot);
    call->givenError = watch.error;
  }
  Begin();
}

WatchedCalls::WatchedCalls(HMODULE module) : module_(module) {
  ForEachImport(module, [this](const char* name, void** slot) {
    if (KnownCall* const call = FindKnownCall(name)) PutInFront(*call, slot);
  });
  Begin();
}

WatchedCalls::~WatchedCalls() {
  for (const Patch& patch : patches_) {
    WriteImport(patch.slot, patch.call->original);
    patch.call->givenError = ERROR_SUCCESS;
  }
  UndoLateOnes();
}

// What was looked up meanwhile through a watched GetProcAddress.
void WatchedCalls::UndoLateOnes() noexcept {
  ForEachImport(module_, [](const char* name, void** slot) {
    const KnownCall* const call = FindKnownCall(name);
    if (call != nullptr && *slot == call->replacement) WriteImport(slot, call->original);
  });
}

void WatchedCalls::PutInFront(KnownCall& call, void** slot) {
  call.original = *slot;
  WriteImport(slot, call.replacement);
  patches_.push_back({&call, slot});
}

// The writing above makes calls too.
void WatchedCalls::Begin() noexcept {
  for (const Patch& patch : patches_) patch.call->calls = patch.call->ownCalls = 0;
  for (size_t i = 0; i < kHeldKinds; ++i) heldBefore_[i] = Faults::Taken(static_cast<Held>(i));
  SetOwnThread(::GetCurrentThreadId());
}

long WatchedCalls::Of(std::string_view function) const {
  const KnownCall* const call = Find(function);
  return call != nullptr ? call->calls.load() : 0;
}

CallNumbers WatchedCalls::Numbers(Threads threads) const {
  CallNumbers numbers;
  for (const Patch& patch : patches_) {
    const long calls = threads == Threads::kAll ? patch.call->calls : patch.call->ownCalls;
    if (calls != 0) numbers[patch.call->name] = calls;
  }
  return numbers;
}

ptrdiff_t WatchedCalls::Holds(Held what) const noexcept {
  return Faults::Taken(what) - heldBefore_[static_cast<size_t>(what)];
}

size_t WatchedCalls::FailEach(const std::function<void()>& prepare, const std::function<void()>& operation,
                              const std::function<void(const FailedCall&)>& check) {
  const auto run = [&](size_t number) {
    prepare();
    const size_t handles = CountOpenHandles();
    {
      const ArmedFault fault({.kind = FaultKind::kSystemCall, .number = number});
      operation();
    }
    EXPECT_EQ(CountOpenHandles(), handles) << Faults::FirstFailed();
  };
  run(0);
  const size_t calls = Faults::Requests();
  check(Faults::FirstFailed());
  for (size_t number = 1;; ++number) {
    run(number);
    const FailedCall failed = Faults::FirstFailed();
    if (failed.number == 0) return calls;
    check(failed);
  }
}

void WatchImportsOf(HMODULE module) {
  ForEachImport(module, [](const char* name, void** slot) {
    KnownCall* const call = FindKnownCall(name);
    if (call == nullptr) return;
    call->original = *slot;
    WriteImport(slot, call->replacement);
  });
}

void AnswerBy(std::string_view function, void* standIn) {
  if (KnownCall* const call = Find(function)) call->standIn = standIn;
}

void StopAnswering() {
  for (KnownCall* const call : KnownCalls()) call->standIn = nullptr;
}

}  // namespace veskard::test
