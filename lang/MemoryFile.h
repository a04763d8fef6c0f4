// MemoryFile: bytes in memory that minizip reads as if they were a file.
#pragma once

#include <ioapi.h>

#include <cstddef>
#include <string_view>

namespace veskard {

/// Reads a view of bytes, which must outlive it. It must not move while an archive
/// is open on it, because the functions hold its address. One thread at a time.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) noexcept : bytes_(bytes) {}
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// The functions for `unzOpen2_64`; every path opens this file.
  zlib_filefunc64_def Functions() noexcept;

  /// Copies up to `count` bytes from the position on and moves it behind them.
  size_t Read(void* buffer, size_t count) noexcept;

  /// Moves the position; `offset` is signed 64 bits in two's complement, `origin` one of
  /// minizip's. A position outside the bytes is refused, and the old one stays.
  bool Seek(ZPOS64_T offset, int origin) noexcept;

  size_t Position() const noexcept { return position_; }

 private:
  std::string_view bytes_;
  size_t position_ = 0;  // never behind the end
};

}  // namespace veskard
