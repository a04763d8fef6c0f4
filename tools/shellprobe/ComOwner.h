// UniqueCom: sole owner of one reference to a COM object.
#pragma once

#include <unknwn.h>

#include "core/Owner.h"

namespace veskard {

template <class Interface>
struct ComReference {
  using Value = Interface*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { value->Release(); }
};

template <class Interface>
using UniqueCom = Owner<ComReference<Interface>>;

/// Where QueryInterface and its like put an interface: frees what is owned.
template <class Interface>
void** OutVoid(UniqueCom<Interface>& owner) noexcept {
  return reinterpret_cast<void**>(owner.Out());
}

/// COM for this thread, as Explorer's windows have it: a single-threaded
/// apartment with OLE. Throws ToolError.
class ComApartment {
 public:
  ComApartment();
  ~ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
};

}  // namespace veskard
