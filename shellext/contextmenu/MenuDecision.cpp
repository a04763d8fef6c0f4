#include "shellext/contextmenu/MenuDecision.h"

namespace veskard {

MenuItems DecideMenuItems(const MenuSelection& selection) noexcept {
  const auto& s = selection;
  MenuItems items;
  if (!s.InOwnSelectiveFolder()) return items;

  if (s.anyDirectory || s.needsDownload) items.Add(CommandOffset::kSyncToThisDevice);
  if (s.receiving) items.Add(CommandOffset::kCancelReceiving);
  if (s.anyDirectory || s.hasLocalFile) items.Add(CommandOffset::kRemoveFromThisDevice);
  if (!s.removeAllDisabled) {
    const bool greyed = !s.removableEverywhere || s.receiving;
    items.Add(CommandOffset::kRemoveFromAllDevices, greyed);
  }
  return items;
}

}  // namespace veskard
