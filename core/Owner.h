// Owner: the one template behind every owned resource.
#pragma once

#include <utility>

namespace veskard {

/// Sole owner of one resource, move-only. `Traits` describe the resource:
///
///     struct Traits {
///       using Value = HANDLE;                    // cheap to copy
///       static Value Invalid() noexcept;         // "owns nothing"
///       static void Close(Value value) noexcept; // frees one valid value
///     };
///
/// Closing happens once, in Reset, in assignment and in the destructor. Not
/// thread-safe; nothing here throws.
template <class Traits>
class Owner {
 public:
  using Value = typename Traits::Value;

  Owner() noexcept = default;
  explicit Owner(Value value) noexcept : value_(value) {}
  Owner(Owner&& other) noexcept : value_(other.Release()) {}
  Owner& operator=(Owner&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  ~Owner() { Reset(); }

  Value Get() const noexcept { return value_; }
  explicit operator bool() const noexcept { return value_ != Traits::Invalid(); }

  /// Gives the resource away; the owner then owns nothing.
  [[nodiscard]] Value Release() noexcept { return std::exchange(value_, Traits::Invalid()); }

  /// Frees the owned resource, then takes `value`.
  void Reset(Value value = Traits::Invalid()) noexcept {
    const Value old = std::exchange(value_, value);
    if (old != Traits::Invalid()) Traits::Close(old);
  }

  /// For functions that return the resource through a pointer: frees the
  /// owned resource and returns the address to write to.
  [[nodiscard]] Value* Out() noexcept {
    Reset();
    return &value_;
  }

 private:
  Value value_ = Traits::Invalid();
};

}  // namespace veskard
