// Which binary this code runs in: the library, or a test or tool that links it.
#pragma once

#include <windows.h>

#include <string>

namespace veskard {

/// Remembers the instance handle that the loader gave at process attach.
void SetModuleHandle(HINSTANCE instance) noexcept;

/// That handle; null (the process's executable) where none was set.
HINSTANCE ModuleHandle() noexcept;

/// Full path of a module, read with `GetModuleFileNameW` into a buffer of 260
/// characters (a longer path is cut there); null names the executable. Empty on
/// failure.
std::wstring ReadModulePath(HMODULE module);

}  // namespace veskard
