// FirstLevelMenu: one right-click in Explorer of Windows 11, up to the chosen command.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <shobjidl.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard {

/// The answers of one command.
struct FirstLevelItem {
  std::wstring title;
  std::wstring icon;  // "file,-number"; empty without one
  std::wstring canonicalName;
  bool askedTwice = false;  // the first answer, with okToBeSlow false, was E_PENDING
  HRESULT answer = E_FAIL;  // of the last GetState
  EXPCMDSTATE state = ECS_HIDDEN;

  bool IsHidden() const noexcept { return (state & ECS_HIDDEN) != 0; }
  bool IsGreyed() const noexcept { return (state & ECS_DISABLED) != 0; }
};

/// "enabled", "greyed" or "hidden".
const char* FirstLevelStateName(const FirstLevelItem& item) noexcept;

/// Holds a fly-out, its children and the selection that they were asked about. Belongs to
/// one thread, which has COM.
class FirstLevelMenu {
 public:
  /// Calls as Explorer does: GetState of the fly-out with okToBeSlow false and, after
  /// E_PENDING, with true; its title and picture; then the same for each child. A command
  /// that fails to answer is hidden. Throws ToolError when the library does not have the
  /// class or the Shell has no item for a path.
  FirstLevelMenu(const ExtensionClasses& classes, const std::vector<std::wstring>& paths);

  const FirstLevelItem& FlyOut() const noexcept { return flyOut_; }
  /// All children, hidden ones too, in their order.
  const std::vector<FirstLevelItem>& Children() const noexcept { return children_; }
  /// The object that answers, for LibraryOfObject.
  IUnknown* Handler() const noexcept { return command_.Get(); }

  /// The child with that title (letter case does not matter) or, for a number, at that
  /// place; none: Children().size().
  size_t Find(const std::wstring& command) const;

  /// Chooses a child, whatever its state.
  HRESULT Invoke(size_t child) const;

 private:
  void ReadChildren();

  UniqueCom<IShellItemArray> selection_;
  UniqueCom<IExplorerCommand> command_;
  std::vector<UniqueCom<IExplorerCommand>> childCommands_;
  FirstLevelItem flyOut_;
  std::vector<FirstLevelItem> children_;
};

}  // namespace veskard
