// GuardedBuffer: bytes with a page that may not be touched right behind or right
// in front of them, so that one byte too far ends the program.
#pragma once

#include <cstddef>
#include <string_view>

namespace veskard::test {

class GuardedBuffer {
 public:
  enum class Guard { kBehind, kInFront };

  explicit GuardedBuffer(std::string_view bytes, Guard guard = Guard::kBehind);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  char* begin() noexcept { return begin_; }
  char* end() noexcept { return begin_ + size_; }
  std::string_view View() const noexcept { return {begin_, size_}; }

 private:
  char* pages_;
  size_t pagesSize_;
  char* begin_;
  size_t size_;
};

}  // namespace veskard::test
