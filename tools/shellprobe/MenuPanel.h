// MenuPanel: draws a menu in the manner of Windows 11.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/PngFile.h"

namespace veskard {

/// One row of a menu; without text it is a separator.
struct PanelRow {
  std::wstring text;
  Picture icon;  // with alpha; may be empty
  bool isGreyed = false;
  bool isOpen = false;   // its fly-out stands beside it
  bool leadsOn = false;  // has a fly-out
};

/// 0xRRGGBB.
struct PanelColours {
  uint32_t ground;
  uint32_t border;
  uint32_t open;
  uint32_t text;
  uint32_t greyed;
};
inline constexpr PanelColours kLightPanel = {0xF9F9F9, 0xC8C8C8, 0xE9E9E9, 0x1B1B1B, 0x9A9A9A};
inline constexpr PanelColours kDarkPanel = {0x2C2C2C, 0x454545, 0x3D3D3D, 0xFFFFFF, 0x7E7E7E};

/// Width and height that icons have on this screen.
int PanelIconSize();

/// The menu and, where a row is open, its fly-out beside that row; for the dots per inch of
/// this screen, in the menus' font. Around the rounded corners the picture is transparent.
/// Throws ToolError when the system has no memory for it.
Picture DrawPanels(const std::vector<PanelRow>& menu, const std::vector<PanelRow>& flyOut,
                   const PanelColours& colours);

}  // namespace veskard
