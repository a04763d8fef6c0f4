// The heap blocks behind a BencValue, and the two classes that make them: BencTree a
// dictionary's, BencBuilder all others. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "benc/BencHeap.h"
#include "benc/BencValue.h"

namespace veskard {

/// A string:  | length | bytes ... |
struct BencBytes {
  char* Bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
  const char* Bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }

  size_t length;
};

/// A list:  | count | capacity | (link) | value ... |
struct alignas(BencValue) BencArray {
  BencValue* Values() noexcept { return reinterpret_cast<BencValue*>(this + 1); }
  const BencValue* Values() const noexcept { return reinterpret_cast<const BencValue*>(this + 1); }

  size_t count;
  union {
    size_t capacity;
    size_t demolished;  // while the list is being destroyed: elements that are gone
  };
  uintptr_t nextCondemned;  // while the list is being destroyed
};

/// A key on its way into a node or a search. `visible` is the part that takes part
/// in comparisons: up to the first NUL.
struct BencKey {
  explicit BencKey(std::string_view key) noexcept;

  const char* bytes;
  size_t length;
  size_t visible;
};

/// An entry of a dictionary: a node of a red-black tree.
///   | left | right | parent | value | lengths, colour | key ... |
struct BencNode {
  char* Key() noexcept { return reinterpret_cast<char*>(this + 1); }
  const char* Key() const noexcept { return reinterpret_cast<const char*>(this + 1); }
  std::string_view KeyView() const noexcept { return {Key(), length}; }

  BencNode* left;
  BencNode* right;
  union {
    BencNode* parent;
    uintptr_t nextCondemned;  // of the root, while the tree is being destroyed
  };
  BencValue value;
  uint32_t length;
  uint32_t visible : 31;
  uint32_t isRed : 1;
};

/// The red-black tree of a dictionary.
class BencTree {
 public:
  static BencNode* Root(const BencValue& dict) noexcept { return dict.payload_.root; }
  static BencNode* First(BencNode* root) noexcept;
  static BencNode* Last(BencNode* root) noexcept;
  static BencNode* Next(BencNode* node) noexcept;
  static BencNode* Find(BencNode* root, const BencKey& key) noexcept;

  /// Adds an entry with a None value and returns it; null when the key is there
  /// already. `last` is the entry with the greatest key, or null when it is not
  /// known or there is none; a key beyond it is added without a search and
  /// becomes the last. A key of 2 GiB or more counts as memory exhaustion:
  /// std::bad_alloc. The block comes from `slabs`, or stands alone for null.
  static BencNode* Insert(BencValue& dict, const BencKey& key, BencNode*& last, BencSlabs* slabs = nullptr);

 private:
  struct Place {
    BencNode* parent;
    BencNode** link;
  };

  static bool FindPlace(BencNode** root, const BencKey& key, BencNode* last, Place& place) noexcept;
  static void Rebalance(BencNode** root, BencNode* node) noexcept;
  static void RebalanceUnder(BencNode** root, BencNode*& node, bool isLeft) noexcept;
  static void Rotate(BencNode** root, BencNode* node, bool toLeft) noexcept;
};

/// Builds payloads into values; their blocks come from `slabs`, or stand alone for
/// null.
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
