// FirstLevelPicture: the first menu of Windows 11 with the extension's commands.
#pragma once

#include "tools/shellprobe/FirstLevelMenu.h"
#include "tools/shellprobe/PngFile.h"

namespace veskard {

struct FirstLevelPictureOptions {
  bool isDark = false;
  /// Put commands as Explorer has them around the fly-out.
  bool amongOthers = false;
};

/// Draws the fly-out, opened, with the children that are not hidden, as Windows 11 does; it
/// needs no screen. Throws ToolError when there is nothing to draw or a picture cannot be
/// loaded.
Picture DrawFirstLevelMenu(const FirstLevelMenu& menu, const FirstLevelPictureOptions& options);

/// The picture that a command names as "file,-number", in the size that menus have on this
/// screen, with its alpha. Throws ToolError.
Picture LoadCommandIcon(const std::wstring& location);

}  // namespace veskard
