// The owner of a reference to a COM object of somebody else's.
#pragma once

#include <unknwn.h>

#include "core/Owner.h"

namespace veskard {

template <class Interface>
struct ComReferenceResource {
  using Value = Interface*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { value->Release(); }
};

/// Holds one reference and gives it back with Release.
template <class Interface>
using ComReference = Owner<ComReferenceResource<Interface>>;

/// Adds a reference to `object` and holds it; null holds nothing.
template <class Interface>
ComReference<Interface> HoldCom(Interface* object) noexcept {
  if (object != nullptr) object->AddRef();
  return ComReference<Interface>(object);
}

}  // namespace veskard
