// ByteBuilder: the growable byte buffer that values are serialised into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "util/string/FormatArgs.h"

namespace veskard {

/// Owns one heap block that grows geometrically. Move-only; not thread-safe. Growth
/// throws std::bad_alloc when out of memory, with the strong guarantee.
class ByteBuilder {
 public:
  ByteBuilder() noexcept = default;
  /// Starts with room for `capacity` bytes; `escapeStyle` belongs to the
  /// dump: 0 for hexadecimal escapes, any other number for octal ones.
  explicit ByteBuilder(size_t capacity, uint8_t escapeStyle = 0);
  ~ByteBuilder();
  ByteBuilder(ByteBuilder&& other) noexcept;
  ByteBuilder& operator=(ByteBuilder&& other) noexcept;
  ByteBuilder(const ByteBuilder&) = delete;
  ByteBuilder& operator=(const ByteBuilder&) = delete;

  /// Appends `count` elements of `elementSize` bytes each; one builder is used
  /// with one element size. When they do not fit, the capacity becomes the larger
  /// of twice the old one and the size needed, at least 16 elements. `bytes` may
  /// not lie in the builder itself.
  void Append(const void* bytes, size_t count, size_t elementSize = 1) {
    if (count > capacity_ - length_) Grow(count, elementSize);
    if (count == 0) return;
    std::memcpy(data_ + length_ * elementSize, bytes, count * elementSize);
    length_ += count;
  }
  /// Makes room for `capacity` bytes in all, when there is less.
  void Reserve(size_t capacity);

  /// Empties the builder; the capacity stays.
  void Clear() noexcept { length_ = 0; }

  /// Appends `count` bytes for the caller to fill in, and returns where they begin.
  char* Extend(size_t count) {
    if (count > capacity_ - length_) Grow(count, 1);
    char* const begin = data_ + length_;
    length_ += count;
    return begin;
  }
  void Append(std::string_view bytes) { Append(bytes.data(), bytes.size()); }

  /// Formats (util/string/strfmt.h) and appends; a result of more than 32767
  /// characters is cut there. The arguments may lie in the builder itself.
  template <class... Args>
  void AppendFormat(const char* format, const Args&... args) {
    AppendFormatArgs(format, FormatArgPack<sizeof...(Args)>(args...));
  }
  void AppendFormatArgs(const char* format, FormatArgs args);

  const char* Data() const noexcept { return data_; }
  size_t Length() const noexcept { return length_; }
  size_t Capacity() const noexcept { return capacity_; }
  uint8_t EscapeStyle() const noexcept { return escapeStyle_; }
  std::string_view View() const noexcept { return {data_, length_}; }

 private:
  void Grow(size_t count, size_t elementSize);
  void Resize(size_t capacity, size_t elementSize);

  char* data_ = nullptr;
  size_t capacity_ = 0;  // in elements
  size_t length_ = 0;    // in elements
  uint8_t escapeStyle_ = 0;
};

}  // namespace veskard
