// ShellItemPaths: the paths of the selected items that the shell passes.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <cstdint>
#include <string>
#include <vector>

#include "shellext/contextmenu/PathList.h"

namespace veskard {

/// The paths of the items that have one, in order, uncut and unchanged. The array and its
/// items may be foreign code, and their answers may be wrong:
///
///     GetCount fails, or no array     no paths
///     GetItemAt fails                 the list ends there, whatever the count says
///     GetDisplayName fails, or        the item is skipped; a pointer that came with the
///     gives null or no character      failure is not touched
///
/// The memory used depends on the items that exist, never on the reported count.
class ShellItemPaths final : public PathList {
 public:
  /// Reads the array on this thread and keeps no reference to it. Throws std::bad_alloc only.
  explicit ShellItemPaths(IShellItemArray* items);

  uint32_t Count() const noexcept override { return static_cast<uint32_t>(paths_.size()); }
  std::wstring At(uint32_t index) const override;

  const std::vector<std::wstring>& Paths() const noexcept { return paths_; }

 private:
  std::vector<std::wstring> paths_;
};

}  // namespace veskard
