// RefCountedObject: the reference count of the hand-written COM classes.
#pragma once

#include <atomic>
#include <cstdint>

namespace veskard {

/// Starts at 0; the QueryInterface that hands the object out brings it to 1.
template <class Count>
class CountedObject {
 public:
  virtual ~CountedObject() = 0;
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

 protected:
  CountedObject() noexcept = default;

  uint32_t AddReference() noexcept { return ++references_; }

  /// Returns the new count; at 0 the object is destroyed. Objects that its destructor
  /// releases may add and release references meanwhile.
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
  Count references_ = 0;
};

template <class Count>
CountedObject<Count>::~CountedObject() = default;

/// For objects that live in one apartment: a plain count.
using RefCountedObject = CountedObject<uint32_t>;

/// For objects that several threads hold at the same time.
using SharedRefCountedObject = CountedObject<std::atomic<uint32_t>>;

}  // namespace veskard
