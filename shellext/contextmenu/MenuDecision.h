// Decides the items of the menu.
#pragma once

#include <array>
#include <cstddef>

#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/contextmenu/MenuSelection.h"

namespace veskard {

/// One item of the planned menu.
struct MenuItem {
  CommandOffset command = CommandOffset::kShare;
  bool greyed = false;
};

/// The items of one menu, from top to bottom: a list with room for all of them.
class MenuItems {
 public:
  void Add(CommandOffset command, bool greyed = false) noexcept { items_[count_++] = {command, greyed}; }
  const MenuItem* begin() const noexcept { return items_.data(); }
  const MenuItem* end() const noexcept { return items_.data() + count_; }
  size_t size() const noexcept { return count_; }

 private:
  std::array<MenuItem, 4> items_;
  size_t count_ = 0;
};

/// The items for a selection; none outside a selective folder of the user's own.
MenuItems DecideMenuItems(const MenuSelection& selection) noexcept;

}  // namespace veskard
