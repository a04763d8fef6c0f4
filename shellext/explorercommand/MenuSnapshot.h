// MenuSnapshot: the items of one menu, determined once.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <memory>

#include "core/CriticalSection.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/MenuDecision.h"
#include "shellext/explorercommand/ShellItemPaths.h"

namespace veskard {

/// Shared by a fly-out and its children. A menu belongs to one array, by COM identity. The
/// snapshot keeps the menu of the array that was asked about last, and holds a reference to
/// that array, so that no other one can get its address.
///
/// Calls may come on any thread, and from the array's items while they are read. Each menu
/// goes through these states, under the lock:
///
///                     no agent: the paths are not read
///          .-----------------------------------------------------.
///          |                                                     v
///     +---------+  paths read  +------------+  claimed  +---------------+       +-------+
///     |   new   | -----------> | with paths | --------> | in inspection | ----> | known |
///     +---------+              +------------+           +---------------+       +-------+
///                                    ^     out of memory         |
///                                    `---------------------------'
///
/// - Reading the paths runs foreign code (the array's and its items'), and nothing else here
///   does. No lock is held, and no thread waits for another one's reading: a thread that finds
///   no paths reads them itself. So an item may call again on its own thread, or wait for
///   another thread that does. The first complete reading counts.
/// - The inspection reads the disk and writes the log. One thread claims it and waits for no
///   other; the other threads wait for it. So a menu is inspected and logged once.
/// - A known menu does not change, and keeps no paths.
///
/// A selection without identity (no array, or one whose QueryInterface fails for IUnknown) is
/// inspected at each call and does not replace the menu that is kept.
class MenuSnapshot {
 public:
  /// Whether the call may take long.
  enum class Patience {
    kNone,  // no: the disk is read only when no item may lie on another machine
    kLong,
  };

  MenuSnapshot() noexcept = default;
  /// Releases the array.
  ~MenuSnapshot() = default;
  MenuSnapshot(const MenuSnapshot&) = delete;
  MenuSnapshot& operator=(const MenuSnapshot&) = delete;

  /// Sets `items` to those of the menu for `selection`, which may be null: S_OK, without
  /// items when no agent runs or no command applies. A menu that is not known yet looks for
  /// the agent first, then reads the paths. E_PENDING, with nothing logged, when patience is
  /// needed and not given. Throws std::bad_alloc only; the next call then tries again.
  HRESULT ItemsFor(IShellItemArray* selection, Patience patience, MenuItems& items);

 private:
  enum class State { kUnknown, kInInspection, kKnown };
  struct Menu {
    UniqueCom<IUnknown> identity;
    State state = State::kUnknown;
    std::shared_ptr<const ShellItemPaths> paths;
    MenuItems items;
  };
  using SharedMenu = std::shared_ptr<Menu>;
  class Claim;

  SharedMenu MenuOf(IShellItemArray* selection);
  SharedMenu Remembered(IUnknown* identity) noexcept;
  bool IsKnown(const Menu& menu) noexcept;
  std::shared_ptr<const ShellItemPaths> PathsOf(Menu& menu, IShellItemArray* selection);
  void Inspect(Menu& menu, const ShellItemPaths* paths);

  CriticalSection lock_;
  CONDITION_VARIABLE inspected_ = CONDITION_VARIABLE_INIT;
  SharedMenu current_;
};

}  // namespace veskard
