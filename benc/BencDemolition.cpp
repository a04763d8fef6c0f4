#include "benc/BencDemolition.h"

#include <utility>

#include "benc/BencHeap.h"

namespace veskard {
namespace {

constexpr uintptr_t kTreeBit = 1;

uintptr_t AddressOf(const void* block) noexcept {
  return reinterpret_cast<uintptr_t>(block);
}

}  // namespace

void BencDemolition::Destroy(BencValue& value) noexcept {
  BencDemolition demolition;
  demolition.Push(value);
  while (const Link top = demolition.top_) {
    if ((top & kTreeBit) != 0) {
      demolition.DemolishTree(reinterpret_cast<BencNode*>(top - kTreeBit));
    } else {
      demolition.DemolishArray(reinterpret_cast<BencArray*>(top));
    }
  }
}

// Frees a string at once; pushes a container onto the stack and returns true. The
// value is then None.
bool BencDemolition::Push(BencValue& value) noexcept {
  const BencValue::Payload payload = value.payload_;
  const BencValue::Kind kind = value.kind_;
  const bool owns = value.OwnsPayload();
  value.Forget();
  if (!owns) return false;
  switch (kind) {
    case BencValue::Kind::String:
      FreeBencBlock(payload.bytes);
      return false;
    case BencValue::Kind::List:
      payload.array->demolished = 0;
      payload.array->nextPending = top_;
      top_ = AddressOf(payload.array);
      return true;
    default:
      payload.root->nextPending = top_;
      top_ = AddressOf(payload.root) | kTreeBit;
      return true;
  }
}

// Destroys the list on top of the stack, up to its next container.
void BencDemolition::DemolishArray(BencArray* array) noexcept {
  while (array->demolished < array->count) {
    if (Push(array->Values()[array->demolished++])) return;
  }
  top_ = array->nextPending;
  FreeBencBlock(array);
}

// Destroys the tree on top of the stack, up to its next container. Left children are
// rotated up until there is none. Then the node is freed and its right child remains,
// so that each node is reached without going back up.
void BencDemolition::DemolishTree(BencNode* node) noexcept {
  const Link below = node->nextPending;
  for (;;) {
    while (BencNode* const left = node->left) {
      node->left = left->right;
      left->right = node;
      node = left;
    }
    BencNode* const rest = node->right;
    BencValue value(std::move(node->value));
    FreeBencBlock(node);
    top_ = below;
    if (rest != nullptr) {
      rest->nextPending = below;
      top_ = AddressOf(rest) | kTreeBit;
    }
    if (Push(value) || rest == nullptr) return;
    node = rest;
  }
}

}  // namespace veskard
