// Where a loaded module keeps the addresses of the functions that it imports. Whoever
// writes there stands between this one module and the system.
#pragma once

#include <windows.h>

#include <functional>

namespace veskard {

using ImportVisitor = std::function<void(const char* name, void** slot)>;

/// Visits every function that the module imports by name, with the place where the
/// loader has written its address.
void ForEachImport(HMODULE module, const ImportVisitor& visit);

/// The place of one function; null when the module does not import it by name.
void** FindImport(HMODULE module, const char* function);

/// Writes an address there, whatever the page's protection.
void WriteImport(void** slot, void* target) noexcept;

}  // namespace veskard
