#include "shellext/contextmenu/ShellContextMenu.h"

#include <algorithm>
#include <climits>

#include "shellext/contextmenu/AgentChannel.h"
#include "shellext/contextmenu/DropNames.h"
#include "shellext/contextmenu/MenuCommands.h"
#include "shellext/contextmenu/MenuInspection.h"
#include "shellext/module/ComBoundary.h"
#include "shellext/module/Log.h"

namespace veskard {
namespace {

HRESULT CopyHelpText(const MenuCommand& command, UINT type, char* buffer, UINT size) noexcept {
  const int room = static_cast<int>(std::min<UINT>(size, INT_MAX));
  switch (type) {
    case GCS_HELPTEXTA:
      ::lstrcpynA(buffer, command.utf8Text.c_str(), room);
      return S_OK;
    case GCS_HELPTEXTW:
      ::lstrcpynW(reinterpret_cast<wchar_t*>(buffer), command.wideText.c_str(), room);
      return S_OK;
    default:
      return E_INVALIDARG;
  }
}

}  // namespace

ShellContextMenu::ShellContextMenu() {
  PrepareMenus();
}

STDMETHODIMP ShellContextMenu::QueryInterface(REFIID riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  if (IsEqualIID(riid, IID_IContextMenu)) {
    *ppv = static_cast<IContextMenu*>(this);
  } else if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IShellExtInit)) {
    *ppv = static_cast<IShellExtInit*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

STDMETHODIMP ShellContextMenu::Initialize(LPCITEMIDLIST, IDataObject* selection, HKEY) noexcept {
  selection_ = HoldCom(selection);
  return S_OK;
}

STDMETHODIMP ShellContextMenu::QueryContextMenu(HMENU menu, UINT index, UINT firstId, UINT,
                                                UINT flags) noexcept {
  // The selection's answer may run the host's code, which may release this handler.
  const UniqueCom<IContextMenu> self = HoldCom<IContextMenu>(this);
  return ComBoundary([&] { return BuildMenu(menu, index, firstId, flags); });
}

STDMETHODIMP ShellContextMenu::InvokeCommand(CMINVOKECOMMANDINFO* info) noexcept {
  return ComBoundary([&]() -> HRESULT {
    if (info == nullptr) return E_POINTER;
    const MenuCommand* command = FindMenuCommand(MenuCommands(), reinterpret_cast<UINT_PTR>(info->lpVerb));
    if (command == nullptr) return E_INVALIDARG;
    const DropNames names(medium_.Drop(), kLongestNameInCommand);
    return SendAgentCommand(names, selectedCount_, command->action);
  });
}

STDMETHODIMP ShellContextMenu::GetCommandString(UINT_PTR offset, UINT type, UINT*, char* buffer,
                                                UINT size) noexcept {
  return ComBoundary([&]() -> HRESULT {
    // The answers come from a copy of their own, made by the first question.
    static const MenuCommandTable commands = MenuCommands();
    const MenuCommand* command = FindMenuCommand(commands, offset);
    return command == nullptr ? E_INVALIDARG : CopyHelpText(*command, type, buffer, size);
  });
}

HRESULT ShellContextMenu::BuildMenu(HMENU menu, UINT index, UINT firstId, UINT flags) {
  Log(L"Called context menu");
  if ((flags & CMF_VERBSONLY) != 0) {
    Log(L"Skip shortcut target");
    return E_NOTIMPL;
  }
  if (const HRESULT result = FetchSelection(); FAILED(result)) return result;
  const DropNames names(medium_.Drop(), kLongestNameInMenu);
  selectedCount_ = names.Count();

  if (!IsAgentInReach()) {
    LogNoAgentInReach();
    return E_NOTIMPL;
  }
  InsertItems(InspectForMenu(names), menu, index, firstId);
  menu_ = menu;
  Log(L"End of menu handler");
  return MAKE_HRESULT(SEVERITY_SUCCESS, 0, kMenuIdsUsed);
}

HRESULT ShellContextMenu::FetchSelection() noexcept {
  selectedCount_ = 0;  // whatever was counted goes with the old list
  // The host may replace the selection, or ask for another menu, while this one answers.
  const UniqueCom<IDataObject> selection = HoldCom(selection_.Get());
  const HRESULT result = medium_.Fetch(selection.Get());
  selectedCount_ = 0;  // and so does what a menu within this one counted
  if (FAILED(result) || !medium_.CameWithHandle()) {
    Log(L"Context menu: GetData failed (%lx); mh : %d", result, medium_.CameWithHandle());
    return E_NOTIMPL;
  }
  if (medium_.Drop() == nullptr) {
    Log(L"Context menu: memory handle is NULL");
    return E_NOTIMPL;
  }
  return S_OK;
}

void ShellContextMenu::InsertItems(const MenuItems& items, HMENU menu, UINT index, UINT firstId) noexcept {
  if (items.size() == 0) return;
  const SIZE bitmapSize = MenuCheckSize();
  for (const MenuItem& item : items) {
    const MenuCommand& command = MenuCommandAt(item.command);
    LogAddedCommand(command);
    const UINT flags = MF_BYPOSITION | (item.greyed ? UINT{MF_GRAYED} : 0u);
    // Without our item, the item at this position belongs to the host.
    if (!::InsertMenuW(menu, index, flags, firstId + static_cast<uint32_t>(command.offset),
                       command.wideText.c_str())) {
      continue;
    }
    SetItemBitmap(menu, index, bitmaps_.Of(command.icon, bitmapSize));
    ++index;
  }
}

void ShellContextMenu::SetItemBitmap(HMENU menu, UINT position, HBITMAP bitmap) const noexcept {
  MENUITEMINFOW item = {};
  item.cbSize = sizeof(item);
  item.fMask = MIIM_BITMAP;
  item.hbmpItem = bitmap;
  ::SetMenuItemInfoW(menu, position, TRUE, &item);

  // Bitmaps stand where the check marks are, so that all texts stay aligned.
  MENUINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = MIM_STYLE;
  info.dwStyle = MNS_CHECKORBMP;
  ::SetMenuInfo(menu, &info);
}

}  // namespace veskard
