#include "tests/support/FailingCalls.h"

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"

namespace veskard::test {

std::ostream& operator<<(std::ostream& out, const FailedCall& failed) {
  return out << "failing call " << failed.number << " (" << failed.name << ")";
}

bool CallCounter::MustFail(const char* name, DWORD error) noexcept {
  if (thread_ != ::GetCurrentThreadId() || ++calls_ != failingNumber_) return false;
  if (exitCode_ != 0) ::TerminateProcess(::GetCurrentProcess(), exitCode_);
  failed_ = {calls_, name, error};
  return true;
}

void CallCounter::Arm(size_t failingNumber) noexcept {
  calls_ = 0;
  failed_ = {};
  failingNumber_ = failingNumber;
  thread_ = ::GetCurrentThreadId();
}

void CallCounter::Disarm() noexcept {
  thread_ = 0;
}

FailingCalls::FailingCalls(std::initializer_list<WatchedCall> calls) {
  for (const WatchedCall& call : calls) {
    auto patch = std::make_unique<ImportPatch>(::GetModuleHandleW(nullptr), call.name, call.replacement);
    *call.original = patch->Original();
    patches_.push_back(std::move(patch));
  }
}

size_t FailingCalls::FailEach(const std::function<void()>& prepare, const std::function<void()>& operation,
                              const std::function<void(const FailedCall&)>& check) {
  const auto run = [&](size_t number) {
    prepare();
    const size_t handles = CountOpenHandles();
    CallCounter::Arm(number);
    operation();
    CallCounter::Disarm();
    EXPECT_EQ(CountOpenHandles(), handles) << CallCounter::Failed();
  };
  run(0);
  check(CallCounter::Failed());
  const size_t calls = CallCounter::Calls();
  for (size_t number = 1;; ++number) {
    run(number);
    if (CallCounter::Failed().number == 0) return calls;
    check(CallCounter::Failed());
  }
}

}  // namespace veskard::test
