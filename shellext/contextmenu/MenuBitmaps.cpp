#include "shellext/contextmenu/MenuBitmaps.h"

#include <new>

#include "shellext/contextmenu/MenuPictures.h"

namespace veskard {

HBITMAP MenuBitmaps::Of(uint32_t icon, SIZE size) noexcept {
  for (const Entry& entry : entries_) {
    if (entry.icon == icon && entry.size.cx == size.cx && entry.size.cy == size.cy) return entry.bitmap.Get();
  }
  UniqueBitmap bitmap = SharedMenuPictures().NewBitmap(icon, size);
  if (!bitmap) return nullptr;
  try {
    return entries_.emplace_back(Entry{icon, size, std::move(bitmap)}).bitmap.Get();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

SIZE MenuCheckSize() noexcept {
  return {::GetSystemMetrics(SM_CXMENUCHECK), ::GetSystemMetrics(SM_CYMENUCHECK)};
}

}  // namespace veskard
