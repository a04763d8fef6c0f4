// WalkBencoded: visits a whole value in order, at any depth without recursion.
// Internal to this folder.
#pragma once

#include <span>
#include <string_view>

#include "benc/BencTree.h"
#include "benc/BencValue.h"
#include "benc/InlineStack.h"

namespace veskard {

/// Calls, in the order of the text that a value is written as:
///
///     visitor.Item(isFirst)       before each element of a list
///     visitor.Key(key, isFirst)   before each entry of a dictionary
///     visitor.Open(value)         a list or dictionary begins
///     visitor.Close(value)        it ends
///     visitor.Scalar(value)       any other value
///
/// Allocates only for depths beyond 16.
template <class Visitor>
class BencWalk {
 public:
  explicit BencWalk(Visitor& visitor) noexcept : visitor_(visitor) {}

  void Run(const BencValue& root) {
    if (!Visit(root)) return;
    while (!open_.IsEmpty()) {
      Level& level = open_.Top();
      if (level.isList ? WalkList(level) : WalkDict(level)) continue;
      visitor_.Close(*level.container);
      open_.Pop();
    }
  }

 private:
  struct Level {
    const BencValue* container;
    const BencValue* nextItem;  // of a list
    const BencValue* endOfItems;
    BencNode* nextEntry;  // of a dictionary
    bool isList;
    bool isFirst;
  };

  // True when the value is a container, which is then open.
  bool Visit(const BencValue& value) {
    switch (value.GetKind()) {
      case BencValue::Kind::List: {
        const std::span<const BencValue> items = value.Items();
        visitor_.Open(value);
        open_.Push({&value, items.data(), items.data() + items.size(), nullptr, true, true});
        return true;
      }
      case BencValue::Kind::Dict:
        visitor_.Open(value);
        open_.Push({&value, nullptr, nullptr, BencTree::First(BencTree::Root(value)), false, true});
        return true;
      default:
        visitor_.Scalar(value);
        return false;
    }
  }

  // The elements up to the next container, which is then open; false at the end.
  bool WalkList(Level& level) {
    const BencValue* item = level.nextItem;
    const BencValue* const end = level.endOfItems;
    for (bool isFirst = level.isFirst; item != end; isFirst = false) {
      visitor_.Item(isFirst);
      const BencValue& value = *item++;
      if (!IsContainer(value)) {
        visitor_.Scalar(value);
        continue;
      }
      level.nextItem = item;
      level.isFirst = false;
      return Visit(value);
    }
    return false;
  }

  // The entries up to the next container, which is then open; false at the end.
  bool WalkDict(Level& level) {
    BencNode* entry = level.nextEntry;
    for (bool isFirst = level.isFirst; entry != nullptr; isFirst = false) {
      visitor_.Key(entry->KeyView(), isFirst);
      const BencValue& value = entry->value;
      entry = BencTree::Next(entry);
      if (!IsContainer(value)) {
        visitor_.Scalar(value);
        continue;
      }
      level.nextEntry = entry;
      level.isFirst = false;
      return Visit(value);
    }
    return false;
  }

  static bool IsContainer(const BencValue& value) noexcept {
    return value.GetKind() == BencValue::Kind::List || value.GetKind() == BencValue::Kind::Dict;
  }

  Visitor& visitor_;
  InlineStack<Level> open_;
};

template <class Visitor>
void WalkBencoded(const BencValue& root, Visitor& visitor) {
  BencWalk<Visitor>(visitor).Run(root);
}

}  // namespace veskard
