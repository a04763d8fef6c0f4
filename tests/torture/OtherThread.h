// OtherThread: a second thread of a test's, on which things are done in turn with
// the first.
#pragma once

#include <windows.h>

#include <functional>
#include <thread>

#include "core/WindowsOwners.h"

namespace veskard::test {

class OtherThread {
 public:
  OtherThread();
  ~OtherThread();
  OtherThread(const OtherThread&) = delete;
  OtherThread& operator=(const OtherThread&) = delete;

  /// Does it on the other thread and waits. When it takes longer than a minute
  /// something is locked for ever: ends the program.
  void Run(const std::function<void()>& task);

 private:
  void Serve();

  UniqueHandle begin_;
  UniqueHandle end_;
  const std::function<void()>* task_ = nullptr;  // null: leave
  std::thread thread_;
};

}  // namespace veskard::test
