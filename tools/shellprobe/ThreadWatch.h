// ThreadWatch: waits for threads that other code has started.
#pragma once

#include <windows.h>

#include <chrono>
#include <set>

namespace veskard {

/// Remembers this process's threads when it is made, and waits for those that
/// have come since. Explorer lives on while a command's sender thread talks to
/// the agent; a program that is about to end has to wait for it.
class ThreadWatch {
 public:
  ThreadWatch();

  /// True when every newer thread has ended within `limit`.
  bool WaitForNewThreads(std::chrono::milliseconds limit) const;

 private:
  std::set<DWORD> known_;
};

}  // namespace veskard
