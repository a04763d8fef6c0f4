// The bitmaps beside the menu's items.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/MenuCommands.h"

namespace veskard {

/// One bitmap for each entry of kMenuIcons, in that order, of the size of the
/// menu's check marks and with an alpha channel; an entry is empty when its icon
/// cannot be loaded or drawn. GDI+ must be running. Throws std::bad_alloc only.
std::vector<UniqueBitmap> LoadMenuBitmaps();

/// The icon from the module's resources; empty when it has none. The file beside
/// the module is asked for first, deliberately in a way that loads nothing. Throws
/// std::bad_alloc only.
UniqueIcon LoadMenuIcon(const MenuIcon& icon, HMODULE module, SIZE size);

/// The icon drawn to a new bitmap of that size; empty for no icon and on failure.
UniqueBitmap DrawMenuBitmap(HICON icon, SIZE size) noexcept;

/// `fileName` in the folder that holds `modulePath`, with exactly one separator.
std::wstring PathBesideModule(const std::wstring& modulePath, std::wstring_view fileName);

}  // namespace veskard
