#include <ole2.h>
#include <shlwapi.h>

#include <cstring>
#include <cwchar>
#include <string>

#include "bench/icons/BareIcons.h"
#include "bench/menu/BareCalls.h"
#include "bench/menu/BareMenu.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"
#include "shellext/contextmenu/MenuCommands.h"

namespace veskard::bench {
namespace {

namespace gdip = Gdiplus::DllExports;

// What the four bitmaps have in common.
struct BitmapSetting {
  HMODULE library;
  std::wstring folder;
  SIZE size;
};

BitmapSetting FindSetting(HMODULE library) {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(library), &module);
  wchar_t path[MAX_PATH];
  const DWORD length = ::GetModuleFileNameW(module, path, MAX_PATH);
  const std::wstring folder(path, length);
  return {module,
          folder.substr(0, folder.rfind(L'\\') + 1),
          {::GetSystemMetrics(SM_CXMENUCHECK), ::GetSystemMetrics(SM_CYMENUCHECK)}};
}

UniqueIcon LoadMenuIcon(const BitmapSetting& setting, const MenuIcon& icon) {
  const auto load = [&setting](HMODULE module, const wchar_t* name, UINT type) {
    return UniqueIcon(
        static_cast<HICON>(::LoadImageW(module, name, type, setting.size.cx, setting.size.cy, 0)));
  };
  constexpr UINT kTypeOfFiles = 17;
  UniqueIcon loaded = load(nullptr, (setting.folder + icon.fileName).c_str(), kTypeOfFiles);
  return loaded ? std::move(loaded) : load(setting.library, MAKEINTRESOURCEW(icon.resourceId), IMAGE_ICON);
}

UniqueBitmap MenuBitmap(const BitmapSetting& setting, const MenuIcon& icon) {
  const UniqueIcon loaded = LoadMenuIcon(setting, icon);
  const UniqueGpBitmap image = BareBitmapOf(loaded.Get());
  UINT width = 0, height = 0;
  Gdiplus::PixelFormat format = 0;
  gdip::GdipGetImageWidth(image.Get(), &width);
  gdip::GdipGetImageHeight(image.Get(), &height);
  gdip::GdipGetImagePixelFormat(image.Get(), &format);
  UniqueGpBitmap canvas;
  gdip::GdipCreateBitmapFromScan0(setting.size.cx, setting.size.cy, 0, format, nullptr, canvas.Out());
  {
    UniqueGpGraphics graphics;
    gdip::GdipGetImageGraphicsContext(canvas.Get(), graphics.Out());
    gdip::GdipDrawImageRectI(graphics.Get(), image.Get(), 0, 0, setting.size.cx, setting.size.cy);
  }
  HBITMAP bitmap = nullptr;
  gdip::GdipCreateHBITMAPFromBitmap(canvas.Get(), &bitmap, 0);
  return UniqueBitmap(bitmap);
}

class GdiplusSession {
 public:
  GdiplusSession() {
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token_, &input, nullptr);
  }
  ~GdiplusSession() { Gdiplus::GdiplusShutdown(token_); }
  GdiplusSession(const GdiplusSession&) = delete;
  GdiplusSession& operator=(const GdiplusSession&) = delete;

 private:
  ULONG_PTR token_ = 0;
};

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

// The folder's record; its size is the one that its directory tells.
void ReadRecord(const std::wstring& root) {
  const std::wstring name = root + L"\\.sync\\FolderType";
  const UniqueFile file = OpenToRead(name);
  WIN32_FIND_DATAW entry;
  {
    const UniqueFind search(
        ::FindFirstFileExW(name.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0));
  }
  char bytes[4096];
  wchar_t owner[256];
  DWORD read = 0, size = 256;
  ::ReadFile(file.Get(), bytes, entry.nFileSizeLow, &read, nullptr);
  ::MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(read), owner, 256);
  ::GetUserNameW(owner, &size);
}

// Whether a placeholder is being received. Its mark is opened once more for its size.
bool ReadMark(const std::wstring& placeholder) {
  const std::wstring name = placeholder + L":com.nimbrel.VeskardAgent";
  const UniqueFile mark = OpenToRead(name);
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(OpenToRead(name).Get(), &size);
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
  const BareDropList list(drop);
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
  Items(HMENU menu, const UniqueBitmap (&bitmaps)[4]) : menu_(menu), bitmaps_(bitmaps) {}

  void Add(UINT flags, const wchar_t* text, size_t icon) {
    ::InsertMenuW(menu_, position_, MF_BYPOSITION | flags, 1000 + position_, text);
    MENUITEMINFOW item = {};
    item.cbSize = sizeof(item);
    item.fMask = MIIM_BITMAP;
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
  const UniqueBitmap (&bitmaps_)[4];
  UINT position_ = 0;
};

}  // namespace

void BareRightClick(HMODULE library, IDataObject* selection, HMENU menu) {
  BareLogSwitch();  // the factory comes
  BareLogSwitch();  // the handler comes
  const GdiplusSession gdiplus;
  const BitmapSetting setting = FindSetting(library);
  const UniqueBitmap bitmaps[] = {MenuBitmap(setting, kMenuIcons[0]), MenuBitmap(setting, kMenuIcons[1]),
                                  MenuBitmap(setting, kMenuIcons[2]), MenuBitmap(setting, kMenuIcons[3])};
  BareLogSwitch();  // the factory goes

  FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  STGMEDIUM medium = {};
  selection->GetData(&format, &medium);
  BareAgentLookUp();
  const Found found = LookAtItems(static_cast<HDROP>(medium.hGlobal));
  Items items(menu, bitmaps);
  if (found.waiting) items.Add(0, L"Sync to this device", 0);
  if (found.receiving) items.Add(0, L"Cancel receiving", 0);
  if (found.local) items.Add(0, L"Remove from this device", 1);
  if (found.inFolder) items.Add(MF_GRAYED, L"Remove from all devices", 2);
  ::ReleaseStgMedium(&medium);
  BareLogSwitch();  // the handler goes
}

}  // namespace veskard::bench
