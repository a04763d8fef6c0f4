// FindImport: where a loaded module keeps the addresses of the functions it imports, by
// its import table or late (core/LateLibrary.h).
#pragma once

#include <windows.h>

#include <functional>

namespace veskard {

/// Calls `visit` for each function that the module imports by name, with the place where
/// the loader has written its address; then for each late one that has been looked up.
void ForEachImport(HMODULE module, const std::function<void(const char* name, void** slot)>& visit);

/// The place of the function's address; null when the module does not import it by name.
/// Writing another address there replaces the function for this one module. Where the function
/// is imported late, that place, and the address is looked up now.
void** FindImport(HMODULE module, const char* function) noexcept;

/// Writes an address there, whatever the page's protection.
void WriteImport(void** slot, void* target) noexcept;

}  // namespace veskard
