#include "tools/shellprobe/ShellMenu.h"

#include <algorithm>

#include "tools/common/ToolError.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/SelectionData.h"

namespace veskard {
namespace {

// The handler's numbers; the others' lie outside of them.
constexpr UINT kFirstId = 100;
constexpr UINT kLastId = 0x7FFF;
constexpr UINT kOtherId = 1;

constexpr const wchar_t* kCommandsAbove[] = {L"Open", L"Open with..."};
constexpr const wchar_t* kCommandsBelow[] = {L"Cut", L"Copy", L"Delete", L"Rename"};
constexpr const wchar_t* kLastCommand[] = {L"Properties"};

UINT ItemCount(HMENU menu) {
  return static_cast<UINT>(std::max(::GetMenuItemCount(menu), 0));
}

template <size_t kCount>
void AppendCommands(HMENU menu, const wchar_t* const (&texts)[kCount]) {
  for (const wchar_t* text : texts) ::AppendMenuW(menu, MF_STRING, kOtherId, text);
}

void AppendSeparator(HMENU menu) {
  ::AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
}

// Fills the menu with neighbours and returns the position for the handler's items.
UINT AddNeighbours(HMENU menu) {
  AppendCommands(menu, kCommandsAbove);
  AppendSeparator(menu);
  const UINT place = ItemCount(menu);
  AppendSeparator(menu);
  AppendCommands(menu, kCommandsBelow);
  AppendSeparator(menu);
  AppendCommands(menu, kLastCommand);
  ::SetMenuDefaultItem(menu, 0, TRUE);
  return place;
}

template <class Interface>
UniqueCom<Interface> QueryFor(IUnknown* object, REFIID iid, const char* name) {
  UniqueCom<Interface> face;
  const HRESULT result = object->QueryInterface(iid, OutVoid(face));
  if (FAILED(result)) {
    throw ToolError(kNotRegistered, std::string("the handler has no ") + name + " (" + HexCode(result) + ")");
  }
  return face;
}

ShellMenuItem ReadItem(HMENU menu, UINT position) {
  std::wstring text(static_cast<size_t>(::GetMenuStringW(menu, position, nullptr, 0, MF_BYPOSITION)), L'\0');
  // Room for the terminator lies behind the string's end, where std::wstring keeps its own.
  ::GetMenuStringW(menu, position, text.data(), static_cast<int>(text.size()) + 1, MF_BYPOSITION);
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_ID | MIIM_STATE | MIIM_BITMAP;
  ::GetMenuItemInfoW(menu, position, TRUE, &info);
  ShellMenuItem item;
  item.position = position;
  item.id = info.wID;
  item.offset = info.wID - kFirstId;
  item.text = std::move(text);
  item.greyed = (info.fState & MFS_GRAYED) != 0;
  BITMAP bitmap = {};
  item.hasBitmap = ::GetObjectW(info.hbmpItem, sizeof bitmap, &bitmap) != 0;
  item.bitmapSize = {bitmap.bmWidth, bitmap.bmHeight};
  return item;
}

}  // namespace

ShellMenu::ShellMenu(const ExtensionClasses& classes, const std::vector<std::wstring>& paths,
                     const ShellMenuOptions& options)
    : menu_(::CreatePopupMenu()) {
  const UniqueCom<IUnknown> object = classes.NewMenuHandler(paths.empty() ? std::wstring() : paths.front());
  const auto initializer = QueryFor<IShellExtInit>(object.Get(), IID_IShellExtInit, "IShellExtInit");
  handler_ = QueryFor<IContextMenu>(object.Get(), IID_IContextMenu, "IContextMenu");
  const HRESULT initialized = initializer.Get()->Initialize(nullptr, MakeSelectionData(paths).Get(), nullptr);
  if (FAILED(initialized))
    throw ToolError(kMenuRefused, "the handler refuses the selection: " + HexCode(initialized));

  const UINT place = options.amongOthers ? AddNeighbours(menu_.Get()) : 0;
  answer_ = handler_.Get()->QueryContextMenu(menu_.Get(), place, kFirstId, kLastId, options.flags);
  ReadItems();
}

void ShellMenu::ReadItems() {
  for (UINT position = 0; position < ItemCount(menu_.Get()); ++position) {
    ShellMenuItem item = ReadItem(menu_.Get(), position);
    if (item.id < kFirstId || item.id > kLastId) continue;
    item.help = HelpText(item.offset);
    items_.push_back(std::move(item));
  }
}

std::wstring ShellMenu::HelpText(uint32_t offset) const {
  wchar_t buffer[256] = {};
  // The method takes a narrow pointer even where the type asks for wide text.
  char* const place = reinterpret_cast<char*>(buffer);
  const HRESULT result = handler_.Get()->GetCommandString(offset, GCS_HELPTEXTW, nullptr, place,
                                                          static_cast<UINT>(std::size(buffer)));
  return SUCCEEDED(result) ? buffer : L"";
}

const ShellMenuItem* ShellMenu::Find(const std::wstring& command) const {
  const auto found = std::find_if(items_.begin(), items_.end(), [&](const ShellMenuItem& item) {
    return std::to_wstring(item.offset) == command || ::lstrcmpiW(item.text.c_str(), command.c_str()) == 0;
  });
  return found == items_.end() ? nullptr : &*found;
}

HRESULT ShellMenu::Invoke(uint32_t offset) const {
  CMINVOKECOMMANDINFO info = {};
  info.cbSize = sizeof info;
  info.lpVerb = MAKEINTRESOURCEA(offset);
  info.nShow = SW_SHOWNORMAL;
  return handler_.Get()->InvokeCommand(&info);
}

}  // namespace veskard
