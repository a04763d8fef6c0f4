// The seam between the icons and the inspection of the agent's marks: the icons
// ask two questions and do not know where the answers lie.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// What an icon shows about a placeholder.
struct PlaceholderStatus {
  int32_t progress = -1;  // percent, a multiple of 5; -1: not being received
  bool isFolder = false;  // stands for a folder
};

/// Both are defined beside the inspection (shellext/contextmenu); both throw
/// std::bad_alloc only.
PlaceholderStatus QueryPlaceholderStatus(const std::wstring& placeholderPath);
bool LiesInSelectiveFolder(const std::wstring& placeholderPath);

}  // namespace veskard
