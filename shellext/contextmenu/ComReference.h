// The owner of a reference to a COM object of somebody else's.
#pragma once

#include "core/WindowsOwners.h"

namespace veskard {

/// Holds one reference and gives it back with Release.
template <class Interface>
using ComReference = UniqueCom<Interface>;

/// Adds a reference to `object` and holds it; null holds nothing.
template <class Interface>
ComReference<Interface> HoldCom(Interface* object) noexcept {
  if (object != nullptr) object->AddRef();
  return ComReference<Interface>(object);
}

}  // namespace veskard
