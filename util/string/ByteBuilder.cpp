#include "util/string/ByteBuilder.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "util/string/HeapBlock.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr size_t kSmallestCapacity = 16;
constexpr size_t kFormatBufferSize = 32767 + 1;

size_t AddOrThrow(size_t left, size_t right) {
  if (right > std::numeric_limits<size_t>::max() - left) throw std::bad_alloc();
  return left + right;
}

size_t MultiplyOrThrow(size_t left, size_t right) {
  if (right != 0 && left > std::numeric_limits<size_t>::max() / right) throw std::bad_alloc();
  return left * right;
}

}  // namespace

ByteBuilder::ByteBuilder(size_t capacity, uint8_t escapeStyle) : escapeStyle_(escapeStyle) {
  Reserve(capacity);
}

ByteBuilder::~ByteBuilder() {
  FreeHeapBlock(data_);
}

ByteBuilder::ByteBuilder(ByteBuilder&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      capacity_(std::exchange(other.capacity_, 0)),
      length_(std::exchange(other.length_, 0)),
      escapeStyle_(other.escapeStyle_) {}

ByteBuilder& ByteBuilder::operator=(ByteBuilder&& other) noexcept {
  if (this == &other) return *this;
  FreeHeapBlock(data_);
  data_ = std::exchange(other.data_, nullptr);
  capacity_ = std::exchange(other.capacity_, 0);
  length_ = std::exchange(other.length_, 0);
  escapeStyle_ = other.escapeStyle_;
  return *this;
}

void ByteBuilder::Grow(size_t count, size_t elementSize) {
  const size_t needed = AddOrThrow(length_, count);
  const size_t doubled = capacity_ > std::numeric_limits<size_t>::max() / 2 ? needed : 2 * capacity_;
  Resize(std::max({doubled, needed, kSmallestCapacity}), elementSize);
}

void ByteBuilder::Reserve(size_t capacity) {
  if (capacity > capacity_) Resize(capacity, 1);
}

void ByteBuilder::Resize(size_t capacity, size_t elementSize) {
  void* const data = ResizeHeapBlock(data_, MultiplyOrThrow(capacity, elementSize));
  if (data == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(data);
  capacity_ = capacity;
}

void ByteBuilder::AppendFormatArgs(const char* format, FormatArgs args) {
  char text[kFormatBufferSize];
  Append(text, FormatBufferArgs(text, sizeof(text), format, args));
}

}  // namespace veskard
