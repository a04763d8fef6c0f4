// ExplorerCommand: the base class of the fly-out and its children.
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

/// A command's title, picture and canonical name.
struct CommandFace {
  const wchar_t* title;  // outlives the command
  WORD picture;          // the id of an icon of this library
  GUID canonicalName;
};

/// A command in Explorer's own menu. Several threads may call it at the same time. No method
/// throws: out of memory is E_OUTOFMEMORY, a null output pointer E_POINTER. The caller frees
/// returned strings with CoTaskMemFree. Only GetState and a child's Invoke read the selection.
class ExplorerCommand : public IExplorerCommand, public SharedRefCountedObject {
 public:
  // IUnknown
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  // IExplorerCommand

  STDMETHODIMP GetTitle(IShellItemArray* selection, wchar_t** title) noexcept override;

  /// "<full path of this library>,-<id>"; E_FAIL when the system does not return the path.
  STDMETHODIMP GetIcon(IShellItemArray* selection, wchar_t** icon) noexcept override;

  /// E_NOTIMPL: the commands have no tool tips.
  STDMETHODIMP GetToolTip(IShellItemArray* selection, wchar_t** tip) noexcept override;

  STDMETHODIMP GetCanonicalName(GUID* name) noexcept override;

  /// By the snapshot that the fly-out and its children share (MenuSnapshot.h). E_PENDING
  /// when `okToBeSlow` is false and an item may lie on another machine. Every result except
  /// S_OK sets ECS_HIDDEN.
  STDMETHODIMP GetState(IShellItemArray* selection, BOOL okToBeSlow, EXPCMDSTATE* state) noexcept override;

 protected:
  ExplorerCommand(const CommandFace& face, std::shared_ptr<MenuSnapshot> snapshot) noexcept
      : face_(face), snapshot_(std::move(snapshot)) {}

  /// The command's state in a menu with these items.
  virtual EXPCMDSTATE StateIn(const MenuItems& items) const noexcept = 0;

  const std::shared_ptr<MenuSnapshot>& Snapshot() const noexcept { return snapshot_; }

 private:
  const ModuleReference moduleReference_;  // the first member, so that it is released last
  CommandFace face_;
  std::shared_ptr<MenuSnapshot> snapshot_;
};

}  // namespace veskard
