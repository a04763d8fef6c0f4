#include <ole2.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineMenu.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"

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

bool IsRoot(std::wstring path) {
  const DWORD attributes = ::GetFileAttributesW((path += L"\\.sync\\ID").c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::wstring RootOf(const std::wstring& item) {
  for (size_t end = item.find(L'\\'); end != std::wstring::npos; end = item.find(L'\\', end + 1)) {
    std::wstring prefix = item.substr(0, end);
    if (IsRoot(prefix)) return prefix;
  }
  return IsRoot(item) ? item : std::wstring();
}

UniqueFile OpenToRead(const std::wstring& name) {
  return UniqueFile(::CreateFileW(name.c_str(), GENERIC_READ, kShareEverything, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

// The folder's record.
void ReadRecord(const std::wstring& root) {
  const std::wstring name = root + L"\\.sync\\FolderType";
  const UniqueFile file = OpenToRead(name);
  LARGE_INTEGER length = {};
  ::GetFileSizeEx(file.Get(), &length);
  char bytes[4096];
  wchar_t owner[256];
  DWORD read = 0, size = 256;
  ::ReadFile(file.Get(), bytes, static_cast<DWORD>(length.QuadPart), &read, nullptr);
  ::MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(read), owner, 256);
  ::GetUserNameW(owner, &size);
}

// Whether a placeholder is being received.
bool ReadMark(const std::wstring& placeholder) {
  const std::wstring name = placeholder + L":com.nimbrel.VeskardAgent";
  const UniqueFile mark = OpenToRead(name);
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(mark.Get(), &size);
  char bytes[4096] = {};
  DWORD read = 0;
  ::ReadFile(mark.Get(), bytes, static_cast<DWORD>(size.QuadPart), &read, nullptr);
  return std::strstr(bytes, "vlk_status") != nullptr;
}

struct Found {
  bool inFolder = false;
  bool local = false;
  bool waiting = false;
  bool receiving = false;
};

Found LookAtItems(HDROP drop) {
  Found found;
  const BaselineDropList list(drop);
  for (const wchar_t* name = list.First(); *name != L'\0'; name += std::wcslen(name) + 1) {
    ::GetFileAttributesW(name);
    if (name == list.First()) {
      const std::wstring root = RootOf(name);
      if (root.empty()) return found;
      found.inFolder = true;
      ReadRecord(IsRoot(name) ? name : root);
    }
    if (::_wcsicmp(::PathFindExtensionW(name), L".ghpl") != 0) {
      found.local = true;
    } else {
      (ReadMark(name) ? found.receiving : found.waiting) = true;
    }
  }
  return found;
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

void AddItems(const Found& found, HMENU menu) {
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
  const Found found = LookAtItems(static_cast<HDROP>(medium.hGlobal));
  if (found.inFolder) AddItems(found, menu);
  ::ReleaseStgMedium(&medium);
  BaselineLogSwitch();  // the handler goes
}

}  // namespace veskard::bench
