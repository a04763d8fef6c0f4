// ResourceData: a resource of a module, read in place.
#pragma once

#include <windows.h>

#include "lang/DataContainer.h"

namespace veskard {

/// The bytes stay valid, and cost nothing, while the module is loaded.
class ResourceData : public DataContainer {
 public:
  /// A null module means the process's executable. Never throws: a resource that
  /// cannot be found or loaded is missing, one without bytes is empty.
  ResourceData(HMODULE module, uint16_t id, const wchar_t* type) noexcept;
};

}  // namespace veskard
