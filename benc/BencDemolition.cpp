#include "benc/BencDemolition.h"

#include <new>

namespace veskard {

void BencDemolition::Destroy(BencValue& value) noexcept {
  BencDemolition demolition;
  demolition.Condemn(value);
  while (demolition.arrays_ != nullptr || demolition.trees_ != nullptr) {
    if (demolition.arrays_ != nullptr) {
      demolition.DemolishArray();
    } else {
      demolition.DemolishTree();
    }
  }
}

// Frees a string at once and queues a container; the value is None then.
void BencDemolition::Condemn(BencValue& value) noexcept {
  if (value.OwnsPayload()) {
    if (value.kind_ == BencValue::Kind::String) {
      ::operator delete(value.payload_.bytes);
    } else if (value.kind_ == BencValue::Kind::List) {
      value.payload_.array->nextCondemned = arrays_;
      arrays_ = value.payload_.array;
    } else {
      value.payload_.root->nextCondemned = trees_;
      trees_ = value.payload_.root;
    }
  }
  value.Forget();
}

void BencDemolition::DemolishArray() noexcept {
  BencArray* const array = arrays_;
  arrays_ = array->nextCondemned;
  for (size_t i = 0; i < array->count; ++i) Condemn(array->Values()[i]);
  ::operator delete(array);
}

// Rotates left children up until there is none, frees the node, goes on to the
// right: every node is reached without going back up.
void BencDemolition::DemolishTree() noexcept {
  BencNode* node = trees_;
  trees_ = node->nextCondemned;
  while (node != nullptr) {
    if (BencNode* const left = node->left) {
      node->left = left->right;
      left->right = node;
      node = left;
    } else {
      BencNode* const right = node->right;
      Condemn(node->value);
      ::operator delete(node);
      node = right;
    }
  }
}

}  // namespace veskard
