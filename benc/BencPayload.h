// The heap blocks behind a BencValue: BencTree and BencBuilder fill them. Internal to
// this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

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
  uintptr_t nextPending;  // while the list is being destroyed
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
    uintptr_t nextPending;  // of the root, while the tree is being destroyed
  };
  BencValue value;
  uint32_t length;
  uint32_t visible : 31;
  uint32_t isRed : 1;
};

}  // namespace veskard
