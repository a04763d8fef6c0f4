// ExplorerCommand: what the fly-out and its children have in common.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <memory>

#include "shellext/contextmenu/MenuDecision.h"
#include "shellext/explorercommand/MenuSnapshot.h"
#include "shellext/module/Module.h"
#include "shellext/module/RefCountedObject.h"

namespace veskard {

/// How a command looks, and the name that it keeps for ever.
struct CommandFace {
  const wchar_t* title;  // outlives the command
  WORD picture;          // the id of an icon of this library
  GUID canonicalName;
};

/// A command in Explorer's own menu. Several threads may ask it at the same time. No method
/// lets an exception out; one that runs out of memory answers E_OUTOFMEMORY, and a null
/// place for the answer is E_POINTER. Strings are the caller's, for CoTaskMemFree. Only
/// GetState and a child's Invoke look at the selection.
class ExplorerCommand : public IExplorerCommand, public SharedRefCountedObject {
 public:
  // IUnknown
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  // IExplorerCommand

  STDMETHODIMP GetTitle(IShellItemArray* selection, wchar_t** title) noexcept override;

  /// "<full path of this library>,-<id>"; E_FAIL where the system does not name the path.
  STDMETHODIMP GetIcon(IShellItemArray* selection, wchar_t** icon) noexcept override;

  /// E_NOTIMPL: the title says it all.
  STDMETHODIMP GetToolTip(IShellItemArray* selection, wchar_t** tip) noexcept override;

  STDMETHODIMP GetCanonicalName(GUID* name) noexcept override;

  /// By the snapshot that the fly-out and its children share (MenuSnapshot.h). E_PENDING
  /// where `okToBeSlow` is false and something slow would have to be asked. Every answer but
  /// S_OK comes with ECS_HIDDEN.
  STDMETHODIMP GetState(IShellItemArray* selection, BOOL okToBeSlow, EXPCMDSTATE* state) noexcept override;

 protected:
  ExplorerCommand(const CommandFace& face, std::shared_ptr<MenuSnapshot> snapshot) noexcept
      : face_(face), snapshot_(std::move(snapshot)) {}

  /// The command's state in a menu with these items.
  virtual EXPCMDSTATE StateIn(const MenuItems& items) const noexcept = 0;

  const std::shared_ptr<MenuSnapshot>& Snapshot() const noexcept { return snapshot_; }

 private:
  const ModuleReference moduleReference_;  // the first, so that it goes as the last
  CommandFace face_;
  std::shared_ptr<MenuSnapshot> snapshot_;
};

}  // namespace veskard
