#include "tests/torture/OtherThread.h"

#include <cstdio>

namespace veskard::test {
namespace {

constexpr DWORD kPatience = 60'000;  // milliseconds

}  // namespace

OtherThread::OtherThread()
    : begin_(::CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      end_(::CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      thread_([this] { Serve(); }) {}

OtherThread::~OtherThread() {
  task_ = nullptr;
  ::SetEvent(begin_.Get());
  thread_.join();
}

void OtherThread::Run(const std::function<void()>& task) {
  task_ = &task;
  ::SetEvent(begin_.Get());
  if (::WaitForSingleObject(end_.Get(), kPatience) == WAIT_OBJECT_0) return;
  std::fputs("another thread's call does not come back: a lock is held\n", stderr);
  std::fflush(stderr);
  ::TerminateProcess(::GetCurrentProcess(), 1);
}

void OtherThread::Serve() {
  while (::WaitForSingleObject(begin_.Get(), INFINITE) == WAIT_OBJECT_0 && task_ != nullptr) {
    (*task_)();
    ::SetEvent(end_.Get());
  }
}

}  // namespace veskard::test
