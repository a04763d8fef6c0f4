// ShellContextMenu: the agent's commands in the right-click menu.
#pragma once

#include <shlobj.h>
#include <windows.h>

#include <cstdint>

#include "core/WindowsOwners.h"
#include "shellext/contextmenu/DropMedium.h"
#include "shellext/contextmenu/MenuBitmaps.h"
#include "shellext/contextmenu/MenuDecision.h"
#include "shellext/module/GdiplusUser.h"
#include "shellext/module/Module.h"
#include "shellext/module/RefCountedObject.h"

namespace veskard {

/// The shell makes one for each menu, calls Initialize with the selection,
/// QueryContextMenu for the items and InvokeCommand for the one chosen. It lives
/// in one apartment; no method lets an exception out, and one that runs out of
/// memory answers E_OUTOFMEMORY. While the selection answers, the host may select
/// something else, ask for another menu or release the handler.
class ShellContextMenu final : public IContextMenu, public IShellExtInit, public RefCountedObject {
 public:
  /// Throws std::bad_alloc only.
  ShellContextMenu();

  // IUnknown. IID_IUnknown is answered with the IShellExtInit face.
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  // IShellExtInit

  /// Keeps `selection` in place of an earlier one; null keeps none. Always S_OK.
  STDMETHODIMP Initialize(LPCITEMIDLIST folder, IDataObject* selection, HKEY progId) noexcept override;

  // IContextMenu

  /// Adds the items that the selection gets from position `index` on and returns
  /// the number of ids used, 6, also when there is none to add. E_NOTIMPL where the
  /// menu is refused: for a shortcut's target, without a readable selection, and
  /// when no agent is there.
  STDMETHODIMP QueryContextMenu(HMENU menu, UINT index, UINT firstId, UINT lastId,
                                UINT flags) noexcept override;

  /// Sends the command whose offset stands in `lpVerb` to the agent, in the
  /// background. E_INVALIDARG for any other number and for verbs by name.
  STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO* info) noexcept override;

  /// Copies the menu text as the help text, narrow (UTF-8) or wide. E_INVALIDARG
  /// for an unknown offset and for every other type, the verbs included.
  STDMETHODIMP GetCommandString(UINT_PTR offset, UINT type, UINT* reserved, char* buffer,
                                UINT size) noexcept override;

 private:
  HRESULT BuildMenu(HMENU menu, UINT index, UINT firstId, UINT flags);
  HRESULT FetchSelection() noexcept;
  void InsertItems(const MenuItems& items, HMENU menu, UINT index, UINT firstId) noexcept;
  void SetItemBitmap(HMENU menu, UINT position, HBITMAP bitmap) const noexcept;

  // In this order, so that they go in the reverse: the drop list and the data
  // object first, the module last.
  ModuleUse moduleUse_;
  GdiplusUser gdiplusUser_;
  MenuBitmaps bitmaps_;
  UniqueCom<IDataObject> selection_;
  DropMedium medium_;
  uint32_t selectedCount_ = 0;
  HMENU menu_ = nullptr;  // the menu filled last, for analysing a dump
};

}  // namespace veskard
