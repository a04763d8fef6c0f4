// MenuPictures: the pixels of the pictures in menus, drawn once in a process.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/CriticalSection.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/MenuCommands.h"

namespace veskard {

/// Keeps what it has drawn, by icon and size, and makes bitmaps of it that cost no
/// drawing. At most kMostKept pictures are kept (1 KB each at 16 by 16 pixels); a
/// further one takes the place of the oldest. Safe from several threads: the lock is
/// held while a picture is drawn, so that none is drawn twice.
class MenuPictures {
 public:
  static constexpr size_t kMostKept = 16;

  /// A new bitmap of that size with the icon of that index in kMenuIcons: 32 bits a
  /// pixel, the colours multiplied by alpha. Empty when the icon cannot be loaded or
  /// drawn or memory runs out; nothing is kept of a failure. The first one of a size
  /// starts GDI+ where it does not run yet; the caller is one of its users
  /// (shellext/module/GdiplusUser.h).
  UniqueBitmap NewBitmap(uint32_t icon, SIZE size) noexcept;

 private:
  struct Picture {
    uint32_t icon;
    SIZE size;
    std::vector<uint32_t> pixels;  // from the top row to the bottom one, without gaps
  };
  const Picture* Find(uint32_t icon, SIZE size) const noexcept;
  const Picture* Draw(uint32_t icon, SIZE size);

  CriticalSection lock_;
  std::vector<Picture> kept_;
};

/// The extension's only one, freed with the module. It owns no resource of the system.
MenuPictures& SharedMenuPictures() noexcept;

/// The icon drawn to a new bitmap of that size; empty for no icon and on failure. GDI+
/// must be running.
UniqueBitmap DrawMenuBitmap(HICON icon, SIZE size) noexcept;

/// `fileName` in the folder that holds `modulePath`, with exactly one separator.
std::wstring PathBesideModule(const std::wstring& modulePath, std::wstring_view fileName);

}  // namespace veskard
