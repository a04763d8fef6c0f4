// BlendedMenuBitmaps: menu icons as Windows shows them, under Wine too.
#pragma once

#include <windows.h>

#include <vector>

#include "core/WindowsOwners.h"

namespace veskard {

/// Windows blends a menu item's bitmap into the menu by its alpha channel; Wine
/// copies the pixels, which turns transparent ones black. Under Wine this gives
/// every item a copy of its bitmap that is already blended over the menu's
/// colour, for as long as the object lives. Elsewhere it does nothing.
class BlendedMenuBitmaps {
 public:
  explicit BlendedMenuBitmaps(HMENU menu);
  ~BlendedMenuBitmaps();
  BlendedMenuBitmaps(const BlendedMenuBitmaps&) = delete;
  BlendedMenuBitmaps& operator=(const BlendedMenuBitmaps&) = delete;

 private:
  struct Replaced {
    UINT position;
    HBITMAP original;
    UniqueBitmap copy;
  };

  HMENU menu_;
  std::vector<Replaced> replaced_;
};

}  // namespace veskard
