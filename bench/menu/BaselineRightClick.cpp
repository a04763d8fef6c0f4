#include <ole2.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <vector>

#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineLook.h"
#include "bench/menu/BaselineMenu.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

// A bitmap of the pixels of a picture that was drawn before.
UniqueBitmap MenuBitmap(SIZE size) {
  static const std::vector<uint32_t> pixels(static_cast<size_t>(size.cx) * static_cast<size_t>(size.cy));
  BITMAPINFO layout = {};
  layout.bmiHeader.biSize = sizeof(layout.bmiHeader);
  layout.bmiHeader.biWidth = size.cx;
  layout.bmiHeader.biHeight = -size.cy;
  layout.bmiHeader.biPlanes = 1;
  layout.bmiHeader.biBitCount = 32;
  void* memory = nullptr;
  UniqueBitmap bitmap(::CreateDIBSection(nullptr, &layout, DIB_RGB_COLORS, &memory, nullptr, 0));
  std::copy(pixels.begin(), pixels.end(), static_cast<uint32_t*>(memory));
  return bitmap;
}

BaselineFound LookAtItems(HDROP drop) {
  BaselineLook look;
  const BaselineDropList list(drop);
  for (const wchar_t* name = list.First(); *name != L'\0'; name += std::wcslen(name) + 1) {
    if (!look.At(name)) break;
  }
  return look.Found();
}

class Items {
 public:
  explicit Items(HMENU menu) : menu_(menu) {}

  void Add(UINT flags, const wchar_t* text, size_t icon) {
    ::InsertMenuW(menu_, position_, MF_BYPOSITION | flags, 1000 + position_, text);
    MENUITEMINFOW item = {};
    item.cbSize = sizeof(item);
    item.fMask = MIIM_BITMAP;
    if (!bitmaps_[icon]) bitmaps_[icon] = MenuBitmap(size_);
    item.hbmpItem = bitmaps_[icon].Get();
    ::SetMenuItemInfoW(menu_, position_++, TRUE, &item);
    MENUINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIM_STYLE;
    info.dwStyle = MNS_CHECKORBMP;
    ::SetMenuInfo(menu_, &info);
  }

 private:
  HMENU menu_;
  const SIZE size_ = {::GetSystemMetrics(SM_CXMENUCHECK), ::GetSystemMetrics(SM_CYMENUCHECK)};
  UniqueBitmap bitmaps_[3];
  UINT position_ = 0;
};

void AddItems(const BaselineFound& found, HMENU menu) {
  Items items(menu);
  if (found.waiting) items.Add(0, L"Sync to this device", 0);
  if (found.receiving) items.Add(0, L"Cancel receiving", 0);
  if (found.local) items.Add(0, L"Remove from this device", 1);
  items.Add(MF_GRAYED, L"Remove from all devices", 2);
}

}  // namespace

void BaselineRightClick(IDataObject* selection, HMENU menu) {
  BaselineLogSwitch();  // the factory comes
  BaselineLogSwitch();  // the handler comes
  BaselineLogSwitch();  // the factory goes

  FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  STGMEDIUM medium = {};
  selection->GetData(&format, &medium);
  BaselineAgentLookUp();
  const BaselineFound found = LookAtItems(static_cast<HDROP>(medium.hGlobal));
  if (found.inFolder) AddItems(found, menu);
  ::ReleaseStgMedium(&medium);
  BaselineLogSwitch();  // the handler goes
}

}  // namespace veskard::bench
