// WalkBencoded: visits a whole value in order, at any depth without recursion.
// Internal to this folder.
#pragma once

#include <string_view>

#include "benc/BencPayload.h"
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
    Visit(root);
    while (!open_.IsEmpty()) {
      Level& level = open_.Top();
      if (level.container->GetKind() == BencValue::Kind::List) {
        StepList(level);
      } else {
        StepDict(level);
      }
    }
  }

 private:
  struct Level {
    const BencValue* container;
    const BencValue* nextItem;  // of a list
    BencNode* nextEntry;        // of a dictionary
    bool isFirst;
  };

  void Visit(const BencValue& value) {
    const BencValue::Kind kind = value.GetKind();
    if (kind == BencValue::Kind::List) {
      visitor_.Open(value);
      open_.Push({&value, value.Items().data(), nullptr, true});
    } else if (kind == BencValue::Kind::Dict) {
      visitor_.Open(value);
      open_.Push({&value, nullptr, BencTree::First(BencTree::Root(value)), true});
    } else {
      visitor_.Scalar(value);
    }
  }

  void StepList(Level& level) {
    const std::span<const BencValue> items = level.container->Items();
    if (level.nextItem == items.data() + items.size()) {
      Close(level);
      return;
    }
    visitor_.Item(level.isFirst);
    level.isFirst = false;
    Visit(*level.nextItem++);
  }

  void StepDict(Level& level) {
    BencNode* const entry = level.nextEntry;
    if (entry == nullptr) {
      Close(level);
      return;
    }
    visitor_.Key(entry->KeyView(), level.isFirst);
    level.isFirst = false;
    level.nextEntry = BencTree::Next(entry);
    Visit(entry->value);
  }

  void Close(const Level& level) {
    visitor_.Close(*level.container);
    open_.Pop();
  }

  Visitor& visitor_;
  InlineStack<Level> open_;
};

template <class Visitor>
void WalkBencoded(const BencValue& root, Visitor& visitor) {
  BencWalk<Visitor>(visitor).Run(root);
}

}  // namespace veskard
