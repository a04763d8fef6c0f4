// PageWatch: bytes of which only two pages at a time are readable, with a count of page
// changes. The count is the cost of a pass over them, on a machine of any speed.
#pragma once

#include <cstddef>
#include <string_view>

namespace veskard::test {

/// One at a time in a process, read by one thread at a time. Two pages, so that what
/// lies across their border can be read.
class PageWatch {
 public:
  explicit PageWatch(std::string_view bytes);
  ~PageWatch();
  PageWatch(const PageWatch&) = delete;
  PageWatch& operator=(const PageWatch&) = delete;

  std::string_view View() const noexcept { return {pages_, size_}; }

  /// How often a page was read that was not one of the last two.
  size_t Arrivals() const noexcept;

 private:
  char* pages_;
  size_t size_;
  void* handler_;
};

}  // namespace veskard::test
