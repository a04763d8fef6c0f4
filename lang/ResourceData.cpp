#include "lang/ResourceData.h"

namespace veskard {

ResourceData::ResourceData(HMODULE module, uint16_t id, const wchar_t* type) noexcept {
  const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), type);
  if (found == nullptr) return;
  const HGLOBAL loaded = ::LoadResource(module, found);
  const DWORD size = ::SizeofResource(module, found);
  const void* bytes = loaded == nullptr ? nullptr : ::LockResource(loaded);
  if (bytes == nullptr) {
    if (size == 0) SetBytes({});
    return;
  }
  SetBytes({static_cast<const char*>(bytes), size});
}

}  // namespace veskard
