#include "benc/BencBuilder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace veskard {
namespace {

constexpr size_t kSmallestArray = 4;
constexpr size_t kLargestArray =
    (std::numeric_limits<size_t>::max() / 2 - sizeof(BencArray)) / sizeof(BencValue);

}  // namespace

void BencBuilder::Reserve(BencValue& list, size_t count, BencSlabs* slabs) {
  BencArray* const old = Array(list);
  if (count <= (old == nullptr ? 0 : old->capacity)) return;
  if (count > kLargestArray) throw std::bad_alloc();
  void* const block = TakeBencBlock(slabs, sizeof(BencArray) + count * sizeof(BencValue));
  auto* const array = new (block) BencArray{0, {count}, 0};
  if (old != nullptr) {
    // Values move with their bytes; the old ones are not destroyed.
    std::memcpy(static_cast<void*>(array->Values()), static_cast<const void*>(old->Values()),
                old->count * sizeof(BencValue));
    array->count = old->count;
    FreeBencBlock(old);
  }
  list.payload_.array = array;
}

BencValue& BencBuilder::AppendNone(BencValue& list, BencSlabs* slabs) {
  const BencArray* const full = Array(list);
  if (full == nullptr) {
    Reserve(list, kSmallestArray, slabs);
  } else if (full->count == full->capacity) {
    Reserve(list, 2 * full->capacity, slabs);
  }
  BencArray* const array = Array(list);
  return *new (array->Values() + array->count++) BencValue();
}

void BencBuilder::SetString(BencValue& none, std::string_view bytes, BencSlabs* slabs) {
  if (!bytes.empty()) {
    if (bytes.size() > std::numeric_limits<size_t>::max() - sizeof(BencBytes)) throw std::bad_alloc();
    void* const block = TakeBencBlock(slabs, sizeof(BencBytes) + bytes.size());
    auto* const owned = new (block) BencBytes{bytes.size()};
    std::memcpy(owned->Bytes(), bytes.data(), bytes.size());
    none.payload_.bytes = owned;
  }
  none.kind_ = BencValue::Kind::String;
}

void BencBuilder::SetInt64(BencValue& none, int64_t value) noexcept {
  none.payload_.word = value;
  none.kind_ = BencValue::Kind::Int64;
}

void BencBuilder::SetEmpty(BencValue& none, BencValue::Kind container) noexcept {
  none.kind_ = container;
}

void BencBuilder::CopyScalar(BencValue& none, const BencValue& source, BencSlabs* slabs) {
  switch (source.kind_) {
    case BencValue::Kind::String:
      SetString(none, source.AsBytes(), slabs);
      break;
    case BencValue::Kind::Int32:
    case BencValue::Kind::Int64:
    case BencValue::Kind::Bool:
      none.payload_.word = source.payload_.word;
      none.kind_ = source.kind_;
      break;
    case BencValue::Kind::Null:
      none.kind_ = source.kind_;
      break;
    default:
      break;  // None, and codes that no setter makes
  }
}

}  // namespace veskard
