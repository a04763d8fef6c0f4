// RefCountedObject: the plain reference count of the hand-written COM classes.
#pragma once

#include <cstdint>

namespace veskard {

/// Starts at 0; the QueryInterface that hands the object out brings it to 1. An
/// object lives in one apartment, so the count is not atomic.
class RefCountedObject {
 public:
  virtual ~RefCountedObject() = default;
  RefCountedObject(const RefCountedObject&) = delete;
  RefCountedObject& operator=(const RefCountedObject&) = delete;

 protected:
  RefCountedObject() noexcept = default;

  uint32_t AddReference() noexcept { return ++references_; }

  /// Returns the new count; at 0 the object is destroyed. What its destructor releases may
  /// take and give back references meanwhile.
  uint32_t ReleaseReference() noexcept {
    const uint32_t left = --references_;
    if (left == 0) Destroy();
    return left;
  }

 private:
  void Destroy() noexcept {
    references_ = kWhileDestroyed;
    delete this;
  }

  // Far from 0, which would destroy the object a second time.
  static constexpr uint32_t kWhileDestroyed = 0x40000000;
  uint32_t references_ = 0;
};

}  // namespace veskard
