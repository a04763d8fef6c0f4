#include "benc/BencHeap.h"

#include <algorithm>
#include <limits>
#include <new>

#include "core/Poison.h"

namespace veskard {

struct alignas(8) BencSlab {
  size_t live;
};

namespace {

constexpr size_t kAlignment = 8;
constexpr size_t kLargestShared = 256;  // a larger block stands alone
constexpr size_t kLargestSlab = 32768;

// In front of every block: its slab, or null when it stands alone. With the
// address sanitizer a freed block of a slab is poisoned, for which its size must
// be known.
template <bool kWithSize>
struct alignas(kAlignment) LinkTo {
  void Remember(size_t) noexcept {}
  void PoisonBlock() noexcept {}

  BencSlab* slab;
};
template <>
struct alignas(kAlignment) LinkTo<true> {
  void Remember(size_t blockSize) noexcept { size = blockSize; }
  void PoisonBlock() noexcept { Poison(this + 1, size); }

  BencSlab* slab;
  size_t size;
};
using Link = LinkTo<kCanPoison>;

Link* LinkOf(void* block) noexcept {
  return static_cast<Link*>(block) - 1;
}

void Release(BencSlab* slab) noexcept {
  if (--slab->live == 0) ::operator delete(slab);
}

void* TakeAlone(size_t size) {
  if (size > std::numeric_limits<size_t>::max() - sizeof(Link)) throw std::bad_alloc();
  auto* const link = static_cast<Link*>(::operator new(sizeof(Link) + size));
  link->slab = nullptr;
  return link + 1;
}

}  // namespace

BencSlabs::~BencSlabs() {
  if (slab_ != nullptr) Release(slab_);
}

void* BencSlabs::Take(size_t size) {
  if (size > kLargestShared) return TakeAlone(size);
  const size_t needed = sizeof(Link) + (size + kAlignment - 1) / kAlignment * kAlignment;
  if (needed > left_) StartSlab();
  Unpoison(next_, sizeof(Link) + size);
  auto* const link = reinterpret_cast<Link*>(next_);
  next_ += needed;
  left_ -= needed;
  link->slab = slab_;
  link->Remember(size);
  ++slab_->live;
  return link + 1;
}

void BencSlabs::StartSlab() {
  const size_t size = nextSize_;
  auto* const slab = static_cast<BencSlab*>(::operator new(sizeof(BencSlab) + size));
  slab->live = 1;
  if (slab_ != nullptr) Release(slab_);
  slab_ = slab;
  next_ = reinterpret_cast<char*>(slab + 1);
  left_ = size;
  nextSize_ = std::min(2 * size, kLargestSlab);
  Poison(next_, left_);
}

void* TakeBencBlock(BencSlabs* slabs, size_t size) {
  return slabs == nullptr ? TakeAlone(size) : slabs->Take(size);
}

void FreeBencBlock(void* block) noexcept {
  Link* const link = LinkOf(block);
  if (link->slab == nullptr) {
    ::operator delete(link);
  } else {
    link->PoisonBlock();
    Release(link->slab);
  }
}

}  // namespace veskard
