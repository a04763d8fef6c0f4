// LoadObserver: calls back when a library is mapped and before any of its code runs.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace veskard::test {

class LoadObserver {
 public:
  /// `onLoad` gets the module whose file name is `name`, its imports already
  /// filled in, its entry point not yet called. The test fails where the system
  /// cannot tell. One at a time.
  LoadObserver(std::wstring name, std::function<void(HMODULE)> onLoad);
  ~LoadObserver();
  LoadObserver(const LoadObserver&) = delete;
  LoadObserver& operator=(const LoadObserver&) = delete;

 private:
  struct Notification;
  static void CALLBACK OnNotification(ULONG reason, const Notification* data, void* self);

  std::wstring name_;
  std::function<void(HMODULE)> onLoad_;
  void* cookie_ = nullptr;
};

}  // namespace veskard::test
