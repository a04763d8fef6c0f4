// BencBuilder: fills bencoded values. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "benc/BencHeap.h"
#include "benc/BencPayload.h"

namespace veskard {

/// Builds payloads into values; their blocks come from `slabs`, or stand alone for
/// null. Throws std::bad_alloc when out of memory, with the strong guarantee.
class BencBuilder {
 public:
  static BencArray* Array(const BencValue& list) noexcept { return list.payload_.array; }

  /// Makes room for `count` elements in a list.
  static void Reserve(BencValue& list, size_t count, BencSlabs* slabs = nullptr);

  /// Adds a None element at the end of a list.
  static BencValue& AppendNone(BencValue& list, BencSlabs* slabs = nullptr);

  /// Fill a None value.
  static void SetString(BencValue& none, std::string_view bytes, BencSlabs* slabs = nullptr);
  static void SetInt64(BencValue& none, int64_t value) noexcept;
  static void SetEmpty(BencValue& none, BencValue::Kind container) noexcept;

  /// Copies a value that is no container.
  static void CopyScalar(BencValue& none, const BencValue& source, BencSlabs* slabs = nullptr);
};

}  // namespace veskard
