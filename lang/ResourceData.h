// ResourceData: a resource of a module, read in place.
#pragma once

#include <windows.h>

#include "lang/DataContainer.h"

namespace veskard {

/// The bytes are the loaded module's own, not a copy, and valid while it stays loaded.
class ResourceData : public DataContainer {
 public:
  /// A null module is the process's executable. The status is kMissing for a resource
  /// that cannot be found or loaded, kEmpty for one without bytes.
  ResourceData(HMODULE module, uint16_t id, const wchar_t* type) noexcept;
};

}  // namespace veskard
