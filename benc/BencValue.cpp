#include "benc/BencValue.h"

#include <utility>

#include "benc/BencBuilder.h"
#include "benc/BencDemolition.h"
#include "benc/BencTree.h"
#include "benc/BencWalk.h"
#include "benc/InlineStack.h"

namespace veskard {
namespace {

std::string_view KeyOrEmpty(const char* key) noexcept {
  return key == nullptr ? std::string_view() : std::string_view(key);
}

// Rebuilds in `target`, which is None, what a walk over another value shows. The
// pointers to open containers stay valid: only the innermost one grows.
class BencCopier {
 public:
  explicit BencCopier(BencValue& target) noexcept : place_(&target) {}

  void Item(bool) { place_ = &BencBuilder::AppendNone(*open_.Top(), &slabs_); }
  void Key(std::string_view key, bool) {
    BencValue& dict = *open_.Top();
    BencNode* last = BencTree::Last(BencTree::Root(dict));
    place_ = &BencTree::Insert(dict, BencKey(key), last, &slabs_)->value;
  }
  void Open(const BencValue& source) {
    BencBuilder::SetEmpty(*place_, source.GetKind());
    BencBuilder::Reserve(*place_, source.Items().size(), &slabs_);
    open_.Push(place_);
  }
  void Close(const BencValue&) { open_.Pop(); }
  void Scalar(const BencValue& source) { BencBuilder::CopyScalar(*place_, source, &slabs_); }

 private:
  BencValue* place_;
  InlineStack<BencValue*> open_;
  BencSlabs slabs_;
};

}  // namespace

BencValue& BencValue::operator=(BencValue&& other) noexcept {
  // The source may lie inside the old content, so that is destroyed last.
  BencValue taken(std::move(other));
  std::swap(payload_, taken.payload_);
  std::swap(kind_, taken.kind_);
  return *this;
}

BencValue::BencValue(const BencValue& other) {
  BencValue copy;
  BencCopier copier(copy);
  WalkBencoded(other, copier);
  *this = std::move(copy);
}

BencValue& BencValue::operator=(const BencValue& other) {
  if (this != &other) *this = BencValue(other);
  return *this;
}

BencValue BencValue::FromString(std::string_view bytes) {
  BencValue value;
  BencBuilder::SetString(value, bytes);
  return value;
}

void BencValue::Reset() noexcept {
  DestroyPayload();
  Forget();
}

void BencValue::FreePayload() noexcept {
  BencDemolition::Destroy(*this);
}

int64_t BencValue::Word() const noexcept {
  return kind_ == Kind::Bool ? payload_.word : AsInt();
}

int64_t BencValue::AsInt() const noexcept {
  return kind_ == Kind::Int32 || kind_ == Kind::Int64 ? payload_.word : 0;
}

std::string_view BencValue::AsBytes() const noexcept {
  if (kind_ != Kind::String || payload_.bytes == nullptr) return "";
  return {payload_.bytes->Bytes(), payload_.bytes->length};
}

std::span<const BencValue> BencValue::Items() const noexcept {
  if (kind_ != Kind::List || payload_.array == nullptr) return {};
  return {payload_.array->Values(), payload_.array->count};
}

BencEntries BencValue::Entries() const noexcept {
  return BencEntries(kind_ == Kind::Dict ? BencTree::First(payload_.root) : nullptr);
}

BencEntry BencEntries::Iterator::operator*() const noexcept {
  return {node_->KeyView(), node_->value};
}

BencEntries::Iterator& BencEntries::Iterator::operator++() noexcept {
  node_ = BencTree::Next(node_);
  return *this;
}

BencEntries::Iterator BencEntries::Iterator::operator++(int) noexcept {
  const Iterator before = *this;
  ++*this;
  return before;
}

const BencValue* BencValue::Find(const char* key) const noexcept {
  return Find(KeyOrEmpty(key));
}

const BencValue* BencValue::Find(std::string_view key) const noexcept {
  if (kind_ != Kind::Dict) return nullptr;
  const BencNode* const node = BencTree::Find(payload_.root, BencKey(key));
  return node == nullptr ? nullptr : &node->value;
}

int64_t BencValue::FindInt(const char* key) const noexcept {
  const BencValue* const value = Find(key);
  return value == nullptr ? 0 : value->AsInt();
}

void BencValue::Insert(const char* key, BencValue&& value) {
  if (kind_ != Kind::Dict || &value == this) return;
  BencNode* last = nullptr;
  BencNode* const node = BencTree::Insert(*this, BencKey(KeyOrEmpty(key)), last);
  if (node != nullptr) {
    node->value = std::move(value);
  } else {
    value.Reset();
  }
}

void BencValue::InsertInt(const char* key, int32_t value) {
  Insert(key, FromInt32(value));
}

void BencValue::Append(BencValue&& value) {
  if (kind_ == Kind::List && &value != this) BencBuilder::AppendNone(*this) = std::move(value);
}

}  // namespace veskard
