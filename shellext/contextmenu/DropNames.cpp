#include "shellext/contextmenu/DropNames.h"

#include <string_view>

namespace veskard {

DropNames::DropNames(HDROP drop, size_t longest) : longest_(longest) {
  const void* const bytes = drop == nullptr ? nullptr : ::GlobalLock(drop);
  if (bytes == nullptr) return;
  lock_.Reset(drop);
  block_ = DropBlock(std::string_view(static_cast<const char*>(bytes), ::GlobalSize(drop)));
}

}  // namespace veskard
