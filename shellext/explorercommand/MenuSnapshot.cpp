#include "shellext/explorercommand/MenuSnapshot.h"

#include <utility>

#include "shellext/contextmenu/MenuInspection.h"
#include "shellext/explorercommand/SlowPlaces.h"
#include "shellext/module/Log.h"

namespace veskard {
namespace {

UniqueCom<IUnknown> IdentityOf(IShellItemArray* selection) noexcept {
  if (selection == nullptr) return {};
  void* identity = nullptr;
  const HRESULT result = selection->QueryInterface(IID_IUnknown, &identity);
  return UniqueCom<IUnknown>(SUCCEEDED(result) ? static_cast<IUnknown*>(identity) : nullptr);
}

MenuItems NoAgent() noexcept {
  LogNoAgentInReach();
  return {};
}

MenuItems ItemsOf(const ShellItemPaths& paths) {
  const MenuItems items = InspectForMenu(paths);
  for (const MenuItem& item : items) LogAddedCommand(MenuCommandAt(item.command));
  Log(L"End of menu handler");
  return items;
}

}  // namespace

/// The right to inspect a menu; returned when the inspection fails.
class MenuSnapshot::Claim {
 public:
  /// Waits while another thread has the right.
  Claim(MenuSnapshot& snapshot, Menu& menu) noexcept : snapshot_(snapshot), menu_(menu) {
    const CriticalSectionHold hold(snapshot_.lock_);
    while (menu_.state == State::kInInspection) snapshot_.lock_.WaitFor(snapshot_.inspected_);
    isOurs_ = menu_.state == State::kUnknown;
    if (isOurs_) menu_.state = State::kInInspection;
  }
  ~Claim() {
    if (isOurs_) End(State::kUnknown);
  }
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

  /// Whether this thread inspects the menu; otherwise the menu is known.
  bool IsOurs() const noexcept { return isOurs_; }

  void Answer(const MenuItems& items) noexcept {
    menu_.items = items;
    End(State::kKnown);
  }

 private:
  void End(State state) noexcept {
    const CriticalSectionHold hold(snapshot_.lock_);
    menu_.state = state;
    if (state == State::kKnown) menu_.paths.reset();
    isOurs_ = false;
    ::WakeAllConditionVariable(&snapshot_.inspected_);
  }

  MenuSnapshot& snapshot_;
  Menu& menu_;
  bool isOurs_ = false;
};

HRESULT MenuSnapshot::ItemsFor(IShellItemArray* selection, Patience patience, MenuItems& items) {
  const SharedMenu menu = MenuOf(selection);
  if (!IsKnown(*menu)) {
    std::shared_ptr<const ShellItemPaths> paths;
    if (IsAgentInReach()) {
      paths = PathsOf(*menu, selection);
      if (patience == Patience::kNone && AnyIsSlow(paths->Paths())) return E_PENDING;
    }
    Inspect(*menu, paths.get());
  }
  items = menu->items;
  return S_OK;
}

// Arrays are released after the lock: that may run foreign code.
MenuSnapshot::SharedMenu MenuSnapshot::MenuOf(IShellItemArray* selection) {
  UniqueCom<IUnknown> identity = IdentityOf(selection);
  if (SharedMenu remembered = Remembered(identity.Get())) return remembered;
  SharedMenu added = std::make_shared<Menu>();
  added->identity = std::move(identity);
  if (!added->identity) return added;

  SharedMenu replaced;
  const CriticalSectionHold hold(lock_);
  if (SharedMenu remembered = Remembered(added->identity.Get())) return remembered;
  replaced = std::exchange(current_, added);
  return added;
}

MenuSnapshot::SharedMenu MenuSnapshot::Remembered(IUnknown* identity) noexcept {
  const CriticalSectionHold hold(lock_);
  return identity != nullptr && current_ && current_->identity.Get() == identity ? current_ : nullptr;
}

bool MenuSnapshot::IsKnown(const Menu& menu) noexcept {
  const CriticalSectionHold hold(lock_);
  return menu.state == State::kKnown;
}

std::shared_ptr<const ShellItemPaths> MenuSnapshot::PathsOf(Menu& menu, IShellItemArray* selection) {
  {
    const CriticalSectionHold hold(lock_);
    if (menu.paths) return menu.paths;
  }
  auto paths = std::make_shared<const ShellItemPaths>(selection);
  const CriticalSectionHold hold(lock_);
  if (!menu.paths && menu.state != State::kKnown) menu.paths = paths;
  return menu.paths ? menu.paths : paths;
}

void MenuSnapshot::Inspect(Menu& menu, const ShellItemPaths* paths) {
  Claim claim(*this, menu);
  if (!claim.IsOurs()) return;
  Log(L"Called first menu");
  claim.Answer(paths != nullptr ? ItemsOf(*paths) : NoAgent());
}

}  // namespace veskard
