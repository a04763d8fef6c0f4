// InlineStack: the explicit stack that replaces recursion.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

namespace veskard {

/// A stack of small plain values: the first 16 live in the object itself, more on
/// the heap, where the room doubles. Push throws std::bad_alloc, with the strong
/// guarantee.
template <class T>
class InlineStack {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  InlineStack() noexcept = default;
  ~InlineStack() {
    if (items_ != inline_.data()) ::operator delete(items_);
  }
  InlineStack(const InlineStack&) = delete;
  InlineStack& operator=(const InlineStack&) = delete;

  bool IsEmpty() const noexcept { return count_ == 0; }
  T& Top() noexcept { return items_[count_ - 1]; }
  void Pop() noexcept { --count_; }
  void Push(T item) {
    if (count_ == capacity_) Grow();
    items_[count_++] = item;  // NOLINT(clang-analyzer-cplusplus.NewDelete): never of size zero
  }

 private:
  static constexpr size_t kInlineCount = 16;

  // NOLINTBEGIN(bugprone-sizeof-expression): the items may well be pointers
  void Grow() {
    auto* const bigger = static_cast<T*>(::operator new(2 * capacity_ * sizeof(T)));
    std::memcpy(bigger, items_, count_ * sizeof(T));
    if (items_ != inline_.data()) ::operator delete(items_);
    items_ = bigger;
    capacity_ *= 2;
  }
  // NOLINTEND(bugprone-sizeof-expression)

  std::array<T, kInlineCount> inline_;
  T* items_ = inline_.data();
  size_t count_ = 0;
  size_t capacity_ = kInlineCount;
};

}  // namespace veskard
