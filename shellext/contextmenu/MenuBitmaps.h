// MenuBitmaps: the bitmaps that one handler's menus show.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard {

/// Makes a bitmap when an item first needs it and keeps it for as long as a menu may show
/// it, that is to the end of the handler. Belongs to one apartment.
class MenuBitmaps {
 public:
  /// The bitmap with the icon of that index in kMenuIcons, in that size; null when it
  /// cannot be made now. Owned by this object. The caller is a user of GDI+
  /// (shellext/module/GdiplusUser.h).
  HBITMAP Of(uint32_t icon, SIZE size) noexcept;

 private:
  struct Entry {
    uint32_t icon;
    SIZE size;
    UniqueBitmap bitmap;
  };
  std::vector<Entry> entries_;
};

/// The size of the menus' check marks now, which is that of the bitmaps.
SIZE MenuCheckSize() noexcept;

}  // namespace veskard
