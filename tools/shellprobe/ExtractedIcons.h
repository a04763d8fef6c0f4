// A placeholder's icon, asked for as the Shell asks for it.
#pragma once

#include <string>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/PngFile.h"

namespace veskard {

struct PlaceholderIcons {
  UniqueIcon large;
  UniqueIcon small;
};

/// Loads the file into a new icon handler and extracts both icons, 32 and 16
/// pixels asked for. Throws ToolError: kNotRegistered without a handler, kNoIcon
/// when it has no icon for the file or gives only one of them.
PlaceholderIcons ExtractPlaceholderIcons(const ExtensionClasses& classes, const std::wstring& file);

enum class IconClass { kLarge, kSmall };

/// One of them, asked for in the same way; whether the other came does not matter.
UniqueIcon ExtractPlaceholderIcon(const ExtensionClasses& classes, const std::wstring& file, IconClass which);

/// The icon in its own size over a background (0xRRGGBB), as a window shows it.
Picture PaintIcon(HICON icon, uint32_t background);

/// The icon's own pixels with their alpha.
Picture IconPixels(HICON icon);

}  // namespace veskard
