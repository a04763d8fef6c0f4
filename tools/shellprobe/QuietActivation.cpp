#include "tools/shellprobe/QuietActivation.h"

#include <objbase.h>

#include "core/WindowsOwners.h"
#include "tools/common/ImportSlot.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/RegisteredLibrary.h"

namespace veskard {
namespace {

// By which the library asks for the folder that its log lies in, and by which it
// opens a translator's check file, to write a report beside it.
constexpr char kFolderQuery[] = "SHGetSpecialFolderPathW";
constexpr char kFileOpening[] = "CreateFileW";

BOOL WINAPI NoFolder(HWND, wchar_t*, int, BOOL) noexcept {
  return FALSE;
}

HANDLE WINAPI NoFile(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) noexcept {
  ::SetLastError(ERROR_FILE_NOT_FOUND);
  return INVALID_HANDLE_VALUE;
}

/// While it lives, the module calls another function in an import's place.
class Replacement {
 public:
  Replacement(HMODULE module, const char* import, void* function) noexcept
      : slot_(module == nullptr ? nullptr : FindImport(module, import)) {
    if (slot_ == nullptr) return;
    original_ = *slot_;
    WriteImport(slot_, function);
  }
  ~Replacement() {
    if (slot_ != nullptr) WriteImport(slot_, original_);
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

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
  const Replacement noFolder(library.Get(), kFolderQuery, reinterpret_cast<void*>(&NoFolder));
  const Replacement noFile(library.Get(), kFileOpening, reinterpret_cast<void*>(&NoFile));
  if (!noFolder || !noFile) return std::nullopt;
  UniqueCom<IUnknown> object;
  return ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, OutVoid(object));
}

}  // namespace veskard
