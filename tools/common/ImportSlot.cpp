#include "tools/common/ImportSlot.h"

#include <cstring>
#include <span>

#include "core/LateLibrary.h"

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

const IMAGE_NT_HEADERS* HeadersOf(HMODULE module) noexcept {
  const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
  return At<const IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
}

void VisitImportTable(HMODULE module, const Visit& visit) {
  const IMAGE_DATA_DIRECTORY& imports =
      HeadersOf(module)->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return;
  const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress);
  for (; library->Name != 0; ++library) VisitLibrary(module, *library, visit);
}

std::span<const IMAGE_SECTION_HEADER> SectionsOf(HMODULE module) noexcept {
  const IMAGE_FILE_HEADER& file = HeadersOf(module)->FileHeader;
  const auto* const optional = reinterpret_cast<const char*>(&HeadersOf(module)->OptionalHeader);
  const auto* const first =
      reinterpret_cast<const IMAGE_SECTION_HEADER*>(optional + file.SizeOfOptionalHeader);
  return {first, file.NumberOfSections};
}

bool HoldsLateSlots(const IMAGE_SECTION_HEADER& section) noexcept {
  return std::strncmp(reinterpret_cast<const char*>(section.Name), VESKARD_LATE_SECTION,
                      IMAGE_SIZEOF_SHORT_NAME) == 0;
}

template <class VisitSlot>
void ForEachLateSlot(HMODULE module, const VisitSlot& visit) {
  for (const IMAGE_SECTION_HEADER& section : SectionsOf(module)) {
    if (!HoldsLateSlots(section)) continue;
    auto* const slots = At<LateSlot>(module, section.VirtualAddress);
    const size_t count = section.Misc.VirtualSize / sizeof(LateSlot);
    for (LateSlot& slot : std::span(slots, count)) visit(slot);
  }
}

static_assert(sizeof(LateSlot::address) == sizeof(void*));
void** AddressIn(LateSlot& slot) noexcept {
  return reinterpret_cast<void**>(&slot.address);
}

// What the module itself would look up, without its noticing.
void LookUp(LateSlot& slot) noexcept {
  if (slot.address == nullptr)
    slot.address =
        reinterpret_cast<void*>(::GetProcAddress(::LoadLibraryW(slot.library->FileName()), slot.name));
}

void** FindLateImport(HMODULE module, const char* function) {
  void** found = nullptr;
  ForEachLateSlot(module, [&](LateSlot& slot) {
    if (std::strcmp(slot.name, function) != 0) return;
    LookUp(slot);
    found = AddressIn(slot);
  });
  return found;
}

}  // namespace

void ForEachImport(HMODULE module, const Visit& visit) {
  VisitImportTable(module, visit);
  ForEachLateSlot(module, [&visit](LateSlot& slot) {
    if (slot.address != nullptr) visit(slot.name, AddressIn(slot));
  });
}

void** FindImport(HMODULE module, const char* function) noexcept {
  if (void** const late = FindLateImport(module, function)) return late;
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
