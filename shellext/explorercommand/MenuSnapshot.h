// MenuSnapshot: what one menu shows, found out once.
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

/// Shared by a fly-out and its children. One menu is one snapshot and one array, by COM
/// identity: the array is held for as long as it is remembered, so that its address is not
/// taken for another one's. The array that was asked about last is remembered.
///
/// Questions may come on any thread, and from the array's items while they are asked. Each
/// array goes through these states, under the lock:
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
/// - Reading the paths runs foreign code, the array's and its items', and nothing else here
///   does. No lock is held, and no thread waits for another's reading: one that finds no
///   paths reads them itself. So an item may ask again on its own thread, or wait for another
///   thread that asks. The first reading that is complete is the one that counts.
/// - The inspection is the disk and the log. One thread claims it, and the others wait for
///   that one, which waits for nobody. So a menu is inspected and logged once.
/// - A known menu does not change any more, and keeps no paths.
///
/// A selection without identity (no array, or one whose QueryInterface fails for IUnknown) is
/// inspected anew each time and does not replace the one that is remembered.
class MenuSnapshot {
 public:
  /// Whether an answer may take long.
  enum class Patience {
    kNone,  // no: the disk is asked only where no item lies on a network drive or a share
    kLong,
  };

  MenuSnapshot() noexcept = default;
  /// Lets the remembered array go.
  ~MenuSnapshot() = default;
  MenuSnapshot(const MenuSnapshot&) = delete;
  MenuSnapshot& operator=(const MenuSnapshot&) = delete;

  /// The items of the menu for `selection`, which may be null: S_OK, with none where there
  /// is no agent or nothing to offer. A menu that is not known yet asks for the agent first,
  /// then for the paths. E_PENDING, and nothing logged, where the answer needs patience.
  /// Throws std::bad_alloc only, and the next question then tries again.
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
