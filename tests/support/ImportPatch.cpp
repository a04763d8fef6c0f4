#include "tests/support/ImportPatch.h"

#include <gtest/gtest.h>

#include <cstring>

namespace veskard::test {
namespace {

template <class T>
T* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

void** FindInLibrary(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& library, const char* function) {
  const auto* name = At<const IMAGE_THUNK_DATA>(module, library.OriginalFirstThunk);
  auto* slot = At<IMAGE_THUNK_DATA>(module, library.FirstThunk);
  for (; name->u1.AddressOfData != 0; ++name, ++slot) {
    if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
    const auto* entry = At<const IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
    if (std::strcmp(reinterpret_cast<const char*>(entry->Name), function) == 0)
      return reinterpret_cast<void**>(&slot->u1.Function);
  }
  return nullptr;
}

/// Where the loader wrote the function's address; null when it is not imported.
void** FindImport(HMODULE module, const char* function) {
  const auto* dos = At<const IMAGE_DOS_HEADER>(module, 0);
  const auto* headers = At<const IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
  const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress);
  for (; library->Name != 0; ++library)
    if (void** slot = FindInLibrary(module, *library, function)) return slot;
  return nullptr;
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : slot_(FindImport(module != nullptr ? module : ::GetModuleHandleW(nullptr), function)) {
  EXPECT_NE(slot_, nullptr) << function << " is not imported";
  if (slot_ == nullptr) return;
  original_ = *slot_;
  Write(replacement);
}

ImportPatch::~ImportPatch() {
  if (slot_ != nullptr) Write(original_);
}

void ImportPatch::Write(void* target) noexcept {
  DWORD protection = 0;
  ::VirtualProtect(slot_, sizeof(*slot_), PAGE_READWRITE, &protection);
  *slot_ = target;
  ::VirtualProtect(slot_, sizeof(*slot_), protection, &protection);
}

}  // namespace veskard::test
