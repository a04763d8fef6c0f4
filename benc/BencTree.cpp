#include "benc/BencTree.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace veskard {
namespace {

constexpr size_t kLongestKey = 0x7FFFFFFF;

size_t VisibleLength(std::string_view key) noexcept {
  const size_t nul = key.find('\0');
  return nul == std::string_view::npos ? key.size() : nul;
}

// Negative, zero or positive, as the key comes before, at or after the node's.
int Compare(const BencKey& key, const BencNode& node) noexcept {
  const size_t shorter = std::min<size_t>(key.visible, node.visible);
  const int order = shorter == 0 ? 0 : std::memcmp(key.bytes, node.Key(), shorter);
  if (order != 0) return order;
  return key.visible < node.visible ? -1 : key.visible > node.visible;
}

BencNode* MakeNode(const BencKey& key, BencNode* parent, BencSlabs* slabs) {
  if (key.length > kLongestKey) throw std::bad_alloc();
  void* const block = TakeBencBlock(slabs, sizeof(BencNode) + key.length);
  auto* const node = new (block) BencNode;
  node->left = node->right = nullptr;
  node->parent = parent;
  node->length = static_cast<uint32_t>(key.length);
  node->visible = static_cast<uint32_t>(key.visible) & kLongestKey;
  node->isRed = 1;
  if (key.length != 0) std::memcpy(node->Key(), key.bytes, key.length);
  return node;
}

bool IsRed(const BencNode* node) noexcept {
  return node != nullptr && node->isRed;
}

}  // namespace

BencKey::BencKey(std::string_view key) noexcept
    : bytes(key.data()), length(key.size()), visible(VisibleLength(key)) {}

BencNode* BencTree::First(BencNode* root) noexcept {
  if (root == nullptr) return nullptr;
  while (root->left != nullptr) root = root->left;
  return root;
}

BencNode* BencTree::Last(BencNode* root) noexcept {
  if (root == nullptr) return nullptr;
  while (root->right != nullptr) root = root->right;
  return root;
}

BencNode* BencTree::Next(BencNode* node) noexcept {
  if (node->right != nullptr) return First(node->right);
  while (node->parent != nullptr && node == node->parent->right) node = node->parent;
  return node->parent;
}

BencNode* BencTree::Find(BencNode* root, const BencKey& key) noexcept {
  while (root != nullptr) {
    const int order = Compare(key, *root);
    if (order == 0) break;
    root = order < 0 ? root->left : root->right;
  }
  return root;
}

BencNode* BencTree::Insert(BencValue& dict, const BencKey& key, BencNode*& last, BencSlabs* slabs) {
  BencNode** const root = &dict.payload_.root;
  Place place;
  if (!FindPlace(root, key, last, place)) return nullptr;
  BencNode* const node = MakeNode(key, place.parent, slabs);
  if (place.link == (last == nullptr ? root : &last->right)) last = node;
  *place.link = node;
  Rebalance(root, node);
  return node;
}

// Where a new key goes; false when it is there already.
bool BencTree::FindPlace(BencNode** root, const BencKey& key, BencNode* last, Place& place) noexcept {
  if (last != nullptr && Compare(key, *last) > 0) {
    place = {last, &last->right};
    return true;
  }
  place = {nullptr, root};
  while (*place.link != nullptr) {
    BencNode* const node = *place.link;
    const int order = Compare(key, *node);
    if (order == 0) return false;
    place = {node, order < 0 ? &node->left : &node->right};
  }
  return true;
}

// Restores the two rules after a red node was added: the root is black, and no
// red node has a red child.
void BencTree::Rebalance(BencNode** root, BencNode* node) noexcept {
  while (IsRed(node->parent)) {
    RebalanceUnder(root, node, node->parent == node->parent->parent->left);
  }
  (*root)->isRed = 0;
}

// One step: the parent is red and the left (or right) child of the grandparent.
void BencTree::RebalanceUnder(BencNode** root, BencNode*& node, bool isLeft) noexcept {
  BencNode* parent = node->parent;
  BencNode* const grandparent = parent->parent;
  BencNode* const uncle = isLeft ? grandparent->right : grandparent->left;
  if (IsRed(uncle)) {
    parent->isRed = 0;
    uncle->isRed = 0;
    grandparent->isRed = 1;
    node = grandparent;
    return;
  }
  if (node == (isLeft ? parent->right : parent->left)) {
    Rotate(root, parent, isLeft);
    std::swap(node, parent);
  }
  parent->isRed = 0;
  grandparent->isRed = 1;
  Rotate(root, grandparent, !isLeft);
}

// Moves a node down to its left (right) and its right (left) child up.
void BencTree::Rotate(BencNode** root, BencNode* node, bool toLeft) noexcept {
  BencNode* const child = toLeft ? node->right : node->left;
  BencNode*& inner = toLeft ? child->left : child->right;
  (toLeft ? node->right : node->left) = inner;
  if (inner != nullptr) inner->parent = node;
  inner = node;
  BencNode* const parent = node->parent;
  child->parent = parent;
  node->parent = child;
  if (parent == nullptr) {
    *root = child;
  } else {
    (parent->left == node ? parent->left : parent->right) = child;
  }
}

}  // namespace veskard
