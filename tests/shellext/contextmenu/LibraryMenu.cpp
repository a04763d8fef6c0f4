#include "tests/shellext/contextmenu/LibraryMenu.h"

#include "core/WindowsOwners.h"

namespace veskard::test {
namespace {

ShownItem ItemAt(HMENU menu, UINT position) {
  wchar_t text[200] = {};
  MENUITEMINFOW info = {};
  info.cbSize = sizeof(info);
  info.fMask = MIIM_STRING | MIIM_ID | MIIM_STATE | MIIM_FTYPE | MIIM_BITMAP;
  info.dwTypeData = text;
  info.cch = 200;
  EXPECT_TRUE(::GetMenuItemInfoW(menu, position, TRUE, &info)) << position;
  return {text, info.wID, (info.fState & MFS_GRAYED) != 0, (info.fType & MFT_SEPARATOR) != 0, info.hbmpItem};
}

}  // namespace

std::vector<ShownItem> ItemsOf(HMENU menu) {
  std::vector<ShownItem> items;
  const int count = ::GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) items.push_back(ItemAt(menu, static_cast<UINT>(i)));
  return items;
}

std::string Letters(const std::vector<ShownItem>& items) {
  std::string letters;
  for (const ShownItem& item : items) {
    const UINT offset = item.id - kFirstId;
    const char letter = offset >= 2 && offset <= 5 ? "SCRA"[offset - 2] : '?';
    letters += item.greyed ? static_cast<char>(letter | 0x20) : letter;
  }
  return letters;
}

MenuHandler::MenuHandler(const ExtensionLibrary& library, unsigned classIndex) {
  EXPECT_EQ(library.Create(classIndex, IID_IContextMenu, menu_), S_OK);
  EXPECT_EQ(menu_.Get()->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(init_.Out())), S_OK);
}

HRESULT MenuHandler::Invoke(const void* verb) const {
  CMINVOKECOMMANDINFO info;
  std::fill_n(reinterpret_cast<unsigned char*>(&info), sizeof(info), static_cast<unsigned char>(0xCD));
  info.lpVerb = static_cast<const char*>(verb);
  return menu_.Get()->InvokeCommand(&info);
}

LibraryMenuTest::LibraryMenuTest() : log_(applicationData_.Path()) {
  registry_.SetApplicationData(applicationData_.Path());
}

std::string LibraryMenuTest::MenuFor(const std::vector<std::wstring>& items) const {
  const MenuHandler handler(library_);
  FakeDataObject selection(items);
  EXPECT_EQ(handler.Select(&selection), S_OK);
  const UniqueMenu menu(::CreatePopupMenu());
  EXPECT_EQ(handler.Query(menu.Get()), 6);
  handler.Select(nullptr);  // the selection lives no longer than this right-click
  return Letters(ItemsOf(menu.Get()));
}

std::string LibraryMenuTest::MenuForFileIn(std::string_view record) {
  tree_.MarkRoot(L"folder", record);
  return MenuFor({tree_.MakeFile(L"folder\\a.txt")});
}

}  // namespace veskard::test
