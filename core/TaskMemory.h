// The owner of COM's task memory, in which strings pass between COM objects.
#pragma once

#include <windows.h>
// COM's functions need the basic types first.
#include <objbase.h>

#include "core/WindowsOwners.h"

namespace veskard {

using UniqueTaskString = Owner<SystemResource<wchar_t*, &::CoTaskMemFree>>;

}  // namespace veskard
