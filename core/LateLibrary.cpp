#include "core/LateLibrary.h"

#include <cwchar>

namespace veskard {
namespace {

// For systems without the flag for the system's folder: the full path. The libraries that
// the library itself imports are then searched beside it first.
HMODULE LoadByFullPath(const wchar_t* fileName) noexcept {
  wchar_t path[MAX_PATH];
  const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
  if (length == 0 || length + 1 + std::wcslen(fileName) >= MAX_PATH) return nullptr;
  path[length] = L'\\';
  std::wcscpy(path + length + 1, fileName);
  return ::LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

HMODULE LoadFromSystemFolder(const wchar_t* fileName) noexcept {
  const HMODULE module = ::LoadLibraryExW(fileName, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  const bool isFlagUnknown = module == nullptr && ::GetLastError() == ERROR_INVALID_PARAMETER;
  return isFlagUnknown ? LoadByFullPath(fileName) : module;
}

}  // namespace

void* LateSlot::Address() noexcept {
  void* known = address.load(std::memory_order_acquire);
  if (known == nullptr && library->Load()) known = address.load(std::memory_order_acquire);
  return known;
}

LateLibrary::~LateLibrary() {
  const HMODULE module = module_.load();
  if (module != nullptr && !inUse_) ::FreeLibrary(module);
}

bool LateLibrary::Load() noexcept {
  if (module_.load(std::memory_order_acquire) != nullptr) return true;
  const HMODULE module = LoadFromSystemFolder(fileName_);
  if (module == nullptr) return false;
  void* addresses[kMostFunctions] = {};
  if (!LookUp(module, addresses)) {
    ::FreeLibrary(module);
    return false;
  }
  // A slot that is filled already belongs to a replacement of the function.
  for (size_t i = 0; i < slots_.size(); ++i) {
    void* none = nullptr;
    slots_[i]->address.compare_exchange_strong(none, addresses[i]);
  }
  HMODULE none = nullptr;
  if (!module_.compare_exchange_strong(none, module)) ::FreeLibrary(module);  // another thread was faster
  return true;
}

bool LateLibrary::LookUp(HMODULE module, void* (&addresses)[kMostFunctions]) const noexcept {
  for (size_t i = 0; i < slots_.size(); ++i) {
    addresses[i] = reinterpret_cast<void*>(::GetProcAddress(module, slots_[i]->name));
    if (addresses[i] == nullptr) return false;
  }
  return true;
}

}  // namespace veskard
