#include "tools/common/ImportSlot.h"

#include <cstring>

namespace veskard {
namespace {

template <class T>
T* At(HMODULE module, DWORD offset) noexcept {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

using Visit = std::function<void(const char* name, void** slot)>;

void VisitLibrary(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& library, const Visit& visit) {
  if (library.OriginalFirstThunk == 0) return;  // bound by a linker that keeps no names
  const auto* name = At<const IMAGE_THUNK_DATA>(module, library.OriginalFirstThunk);
  auto* slot = At<IMAGE_THUNK_DATA>(module, library.FirstThunk);
  for (; name->u1.AddressOfData != 0; ++name, ++slot) {
    if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
    const auto* entry = At<const IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
    visit(reinterpret_cast<const char*>(entry->Name), reinterpret_cast<void**>(&slot->u1.Function));
  }
}

}  // namespace

void ForEachImport(HMODULE module, const Visit& visit) {
  const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
  const auto* headers = At<const IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return;
  const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress);
  for (; library->Name != 0; ++library) VisitLibrary(module, *library, visit);
}

void** FindImport(HMODULE module, const char* function) noexcept {
  void** found = nullptr;
  ForEachImport(module, [&](const char* name, void** slot) {
    if (found == nullptr && std::strcmp(name, function) == 0) found = slot;
  });
  return found;
}

void WriteImport(void** slot, void* target) noexcept {
  DWORD protection = 0;
  ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
  *slot = target;
  ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

}  // namespace veskard
