// Which binary this code runs in: the library, or a test or tool that links it.
#pragma once

#include <windows.h>

#include <string>

#include "core/WindowsOwners.h"

namespace veskard {

/// Stores the instance handle that the loader passes at process attach.
void SetModuleHandle(HINSTANCE instance) noexcept;

/// That handle; null (the process's executable) where none was set.
HINSTANCE ModuleHandle() noexcept;

/// A reference of the caller's own, which keeps the binary with this code loaded; needs no
/// SetModuleHandle. Empty on failure; the reason is the thread's last error.
[[nodiscard]] UniqueModule ReferenceToThisModule() noexcept;

/// Full path of a module, read with `GetModuleFileNameW` into a buffer of 260
/// characters (a longer path is cut there); null names the executable. Empty on
/// failure.
std::wstring ReadModulePath(HMODULE module);

/// The same for any length, up to the system's longest path of 32,767 characters.
/// Throws std::bad_alloc only.
std::wstring ReadWholeModulePath(HMODULE module);

}  // namespace veskard
