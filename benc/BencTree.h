// BencTree: the dictionaries of bencoded values. Internal to this folder.
#pragma once

#include <cstddef>
#include <string_view>

#include "benc/BencHeap.h"
#include "benc/BencPayload.h"

namespace veskard {

/// A key on its way into a node or a search. `visible` is the part that takes part
/// in comparisons: up to the first NUL.
struct BencKey {
  explicit BencKey(std::string_view key) noexcept;

  const char* bytes;
  size_t length;
  size_t visible;
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

}  // namespace veskard
