// The facts about a selection that decide its menu.
#pragma once

#include <windows.h>

#include <string>

#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// The first item decides about the folder; every item adds to the rest.
struct MenuSelection {
  // About the folder that the first item lies in.
  bool inSyncFolder = false;
  bool isSelective = false;
  bool isOwner = true;
  bool removableEverywhere = false;  // its content may be removed from all devices
  bool removeAllDisabled = false;    // the folder forbids that command

  // About the items.
  bool anyDirectory = false;
  bool needsDownload = false;  // a placeholder that is not being received
  bool receiving = false;      // a placeholder that is
  bool hasLocalFile = false;   // anything that is no placeholder, folders included

  bool InOwnSelectiveFolder() const noexcept { return inSyncFolder && isSelective && isOwner; }
};

/// Looks at the items on the disk: one attribute query an item, with the long form of a
/// path that needs one (fs/util/LongPath.h), and for placeholders their marks. Stops after
/// the first item when its folder rules the menu out; skips items that do not exist. Throws
/// std::bad_alloc only.
MenuSelection InspectSelection(const PathList& items);

/// Whether a name ends in the placeholders' extension ".ghpl", in any case.
bool IsPlaceholderName(const std::wstring& name) noexcept;

/// The current user's name of up to 255 characters; empty when the system does not
/// return it. Throws std::bad_alloc only.
std::wstring CurrentUserName();

}  // namespace veskard
