// ShellMenu: one right-click, from the selection to the chosen command.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <shlobj.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard {

/// One item that the handler has added.
struct ShellMenuItem {
  uint32_t position = 0;  // in the menu, from 0
  uint32_t id = 0;        // the menu's number for it
  uint32_t offset = 0;    // the handler's: id less the first one that the handler may use
  std::wstring text;
  std::wstring help;  // empty when the handler has none
  bool greyed = false;
  bool hasBitmap = false;
  SIZE bitmapSize = {};
};

struct ShellMenuOptions {
  DWORD flags = CMF_NORMAL;
  /// Put commands as a file manager has them around the handler's.
  bool amongOthers = false;
};

/// Holds a handler, initialised with the selection, and the menu that it filled.
/// Belongs to one thread, which has COM.
class ShellMenu {
 public:
  /// Right-clicks. Throws ToolError when there is no handler; a handler that
  /// refuses the selection gives a menu with its answer and no items.
  ShellMenu(const ExtensionClasses& classes, const std::vector<std::wstring>& paths,
            const ShellMenuOptions& options = {});

  /// What QueryContextMenu answered.
  HRESULT Answer() const noexcept { return answer_; }
  bool Refused() const noexcept { return FAILED(answer_); }
  const std::vector<ShellMenuItem>& Items() const noexcept { return items_; }
  HMENU Menu() const noexcept { return menu_.Get(); }
  IContextMenu* Handler() const noexcept { return handler_.Get(); }

  /// The item with that text (letter case does not matter) or, for a number,
  /// that offset; null when there is none.
  const ShellMenuItem* Find(const std::wstring& command) const;

  /// Chooses a command by its offset, whether or not the menu shows it.
  HRESULT Invoke(uint32_t offset) const;

 private:
  void ReadItems();
  std::wstring HelpText(uint32_t offset) const;

  // The menu's items show bitmaps that the handler owns: the menu goes first.
  UniqueCom<IContextMenu> handler_;
  UniqueMenu menu_;
  HRESULT answer_ = E_FAIL;
  std::vector<ShellMenuItem> items_;
};

}  // namespace veskard
