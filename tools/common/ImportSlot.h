// FindImport: where a loaded module keeps the address of a function it imports.
#pragma once

#include <windows.h>

namespace veskard {

/// The place where the loader has written the function's address; null when the
/// module does not import it by name. Whoever writes there stands between this one
/// module and the system.
void** FindImport(HMODULE module, const char* function) noexcept;

/// Writes an address there, whatever the page's protection.
void WriteImport(void** slot, void* target) noexcept;

}  // namespace veskard
