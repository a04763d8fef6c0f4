// BencDemolition: the destruction of values of any depth. Internal to this folder.
#pragma once

#include "benc/BencPayload.h"

namespace veskard {

/// Frees payloads without recursion and without allocating: containers that wait
/// are chained through a field of their own that they no longer need.
class BencDemolition {
 public:
  /// Takes the payload of a value, which becomes None, and frees everything in it.
  static void Destroy(BencValue& value) noexcept;

 private:
  void Condemn(BencValue& value) noexcept;
  void DemolishArray() noexcept;
  void DemolishTree() noexcept;

  BencArray* arrays_ = nullptr;
  BencNode* trees_ = nullptr;
};

}  // namespace veskard
