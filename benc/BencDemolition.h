// BencDemolition: the destruction of values of any depth. Internal to this folder.
#pragma once

#include <cstdint>

#include "benc/BencPayload.h"

namespace veskard {

/// Frees payloads depth first, without recursion and without allocating. The
/// containers that are partly destroyed form a stack, linked through a field that
/// destruction leaves unused:
///
///     top_ -> list (and how far it is) -> tree (what is left of it) -> 0
class BencDemolition {
 public:
  /// Frees the payload of a value, which becomes None, and everything in it.
  static void Destroy(BencValue& value) noexcept;

 private:
  // The address of a list's or a tree's block; the lowest bit is set for a tree.
  using Link = uintptr_t;

  bool Push(BencValue& value) noexcept;
  void DemolishArray(BencArray* array) noexcept;
  void DemolishTree(BencNode* node) noexcept;

  Link top_ = 0;
};

}  // namespace veskard
