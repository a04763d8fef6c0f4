// PlaceholderIcon: composes the icon of a placeholder.
#pragma once

#include <string>

#include "core/WindowsOwners.h"

namespace veskard {

/// The icon of the type that the placeholder stands for, washed out, with the
/// badge of its progress over it; a file in a selective folder that is not being
/// received has no badge. Large and small choose where the Shell's icon comes from
/// (shellext/icons/TypeIcon.h), not a size in pixels.
///
/// Empty when the Shell has no icon or the icon cannot be made; a badge that
/// cannot be drawn, whole or in part, is left out of it. Safe from several threads:
/// the lock of SharedIconCache is held while an icon is composed, so that nothing
/// is made twice. Starts GDI+ where it does not run yet; the caller is one of its users
/// (shellext/module/GdiplusUser.h), or there is no icon. Throws std::bad_alloc only.
UniqueIcon ComposePlaceholderIcon(const std::wstring& placeholderPath, bool large);

/// The path without its last extension: what the placeholder stands for. A folder's
/// gets the pseudo-extension ".vlk2fldr".
std::wstring TargetName(const std::wstring& placeholderPath, bool isFolder);

}  // namespace veskard
