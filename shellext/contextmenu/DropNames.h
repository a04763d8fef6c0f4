// DropNames: the names in a drop list.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/DropBlock.h"
#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// The menu reads only as much of a name as the system's short paths have.
inline constexpr size_t kLongestNameInMenu = MAX_PATH - 1;
/// A command sends a little more than the system's longest path, 32767 characters.
inline constexpr size_t kLongestNameInCommand = 32770;

/// Holds the block of a drop list, which it does not own, locked for as long as it
/// lives. Names and counts are those that `DragQueryFileW` gives, which would walk the
/// list from its beginning for each of them (shellext/contextmenu/DropBlock.h has the
/// rest).
class DropNames final : public PathList {
 public:
  /// Names of more than `longest` characters are cut to that. A list that is null or
  /// cannot be locked has no names. Throws std::bad_alloc only.
  DropNames(HDROP drop, size_t longest);

  uint32_t Count() const noexcept override { return block_.Count(); }
  std::wstring At(uint32_t index) const override { return block_.At(index, longest_); }

 private:
  using BlockLock = Owner<SystemResource<HGLOBAL, &::GlobalUnlock>>;

  size_t longest_;
  BlockLock lock_;
  DropBlock block_;
};

}  // namespace veskard
