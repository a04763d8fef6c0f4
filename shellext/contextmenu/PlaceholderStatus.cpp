#include "shellext/icons/PlaceholderStatus.h"

#include "shellext/contextmenu/SyncFolderInspection.h"

namespace veskard {

PlaceholderStatus QueryPlaceholderStatus(const std::wstring& placeholderPath) {
  const PlaceholderState state = ReadPlaceholderState(placeholderPath);
  return {state.progress, state.typeFlag};
}

bool LiesInSelectiveFolder(const std::wstring& placeholderPath) {
  const std::wstring root = FindSyncFolderRoot(placeholderPath);
  SyncFolderInfo info;
  return !root.empty() && ReadSyncFolderInfo(root, info) && info.selective;
}

}  // namespace veskard
