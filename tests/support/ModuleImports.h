// ModuleImports: what a loaded module imports, and where the addresses stand.
#pragma once

#include <windows.h>

#include <functional>

namespace veskard::test {

/// Calls `visit` for each function that the module imports by name, with the place
/// where the loader wrote its address.
void ForEachImport(HMODULE module, const std::function<void(const char* name, void** slot)>& visit);

/// Writes an address into the import table, which is not writable otherwise.
void WriteImport(void** slot, void* target) noexcept;

}  // namespace veskard::test
