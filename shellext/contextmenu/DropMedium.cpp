#include "shellext/contextmenu/DropMedium.h"

#include <ole2.h>

#include <utility>

namespace veskard {

HRESULT DropMedium::Fetch(IDataObject* source) noexcept {
  Release();
  if (source == nullptr) return E_UNEXPECTED;
  FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  STGMEDIUM fetched = {};
  const HRESULT result = source->GetData(&format, &fetched);
  Replace(fetched, SUCCEEDED(result));
  return result;
}

HDROP DropMedium::Drop() const noexcept {
  // Some sources leave the kind at zero; any other kind than memory is a pointer
  // that must not be taken for a list.
  const bool isMemory = medium_.tymed == TYMED_HGLOBAL || medium_.tymed == TYMED_NULL;
  return owned_ && isMemory ? static_cast<HDROP>(medium_.hGlobal) : nullptr;
}

// Changed before the old one is freed, which may call back.
void DropMedium::Replace(const STGMEDIUM& medium, bool isOwned) noexcept {
  STGMEDIUM old = std::exchange(medium_, medium);
  if (std::exchange(owned_, isOwned)) ::ReleaseStgMedium(&old);
}

}  // namespace veskard
