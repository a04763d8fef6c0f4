// ThreadWatch: waits for threads that other code has started.
#pragma once

#include <windows.h>

#include <chrono>
#include <set>

namespace veskard {

/// Records this process's threads when it is constructed, and waits for those that were
/// started since. Explorer keeps running while a command's sender thread writes to the agent;
/// a program that is about to end has to wait for that thread.
class ThreadWatch {
 public:
  ThreadWatch();

  /// True when every newer thread has ended within `limit`.
  bool WaitForNewThreads(std::chrono::milliseconds limit) const;

 private:
  std::set<DWORD> known_;
};

}  // namespace veskard
