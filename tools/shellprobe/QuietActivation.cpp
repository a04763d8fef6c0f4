#include "tools/shellprobe/QuietActivation.h"

#include <objbase.h>

#include "core/WindowsOwners.h"
#include "tools/common/ImportSlot.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/RegisteredLibrary.h"

namespace veskard {
namespace {

// By which the library asks for the folder that its log lies in.
constexpr char kFolderQuery[] = "SHGetSpecialFolderPathW";

BOOL WINAPI NoFolder(HWND, wchar_t*, int, BOOL) noexcept {
  return FALSE;
}

/// While it lives, the module finds no application-data folder.
class NoFolderFor {
 public:
  explicit NoFolderFor(HMODULE module) noexcept
      : slot_(module == nullptr ? nullptr : FindImport(module, kFolderQuery)) {
    if (slot_ == nullptr) return;
    original_ = *slot_;
    WriteImport(slot_, reinterpret_cast<void*>(&NoFolder));
  }
  ~NoFolderFor() {
    if (slot_ != nullptr) WriteImport(slot_, original_);
  }
  NoFolderFor(const NoFolderFor&) = delete;
  NoFolderFor& operator=(const NoFolderFor&) = delete;

  explicit operator bool() const noexcept { return slot_ != nullptr; }

 private:
  void** slot_;
  void* original_ = nullptr;
};

}  // namespace

std::optional<HRESULT> ActivateQuietly(const std::wstring& classId) {
  CLSID id = {};
  if (FAILED(::CLSIDFromString(classId.c_str(), &id))) return std::nullopt;
  const UniqueModule library(
      ::LoadLibraryExW(LibraryOfClass(classId).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  const NoFolderFor quiet(library.Get());
  if (!quiet) return std::nullopt;
  UniqueCom<IUnknown> object;
  return ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, OutVoid(object));
}

}  // namespace veskard
