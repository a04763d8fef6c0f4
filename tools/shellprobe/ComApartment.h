// COM as Explorer's windows have it.
#pragma once

#include <unknwn.h>

#include "core/WindowsOwners.h"

namespace veskard {

/// The output argument for QueryInterface and the like; frees the owned interface first.
template <class Interface>
void** OutVoid(UniqueCom<Interface>& owner) noexcept {
  return reinterpret_cast<void**>(owner.Out());
}

/// A single-threaded apartment with OLE for this thread. Throws ToolError.
class ComApartment {
 public:
  ComApartment();
  ~ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
};

}  // namespace veskard
