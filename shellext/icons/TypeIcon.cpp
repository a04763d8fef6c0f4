#include "shellext/icons/TypeIcon.h"

#include <windows.h>
// The image lists' header needs the common controls' types.
#include <commctrl.h>

#include <commoncontrols.h>
#include <shellapi.h>

#include "shellext/bitmaps/IconBitmap.h"

namespace veskard {
namespace {

constexpr int kStockFolderSize = 256;

// The headers call it SHGSI_SYSICONINDEX. Library and resource come with every flag;
// SHGSI_ICONLOCATION, which asks for nothing else, is 0.
constexpr UINT kStockIconFlags = 0x4000;

// IID_IImageList, {46EB5926-582E-4017-9FDF-E8998DAA0950}: not every import library
// holds it.
constexpr IID kImageListId = {0x46EB5926, 0x582E, 0x4017, {0x9F, 0xDF, 0xE8, 0x99, 0x8D, 0xAA, 0x09, 0x50}};

bool IsSystemAtLeast(DWORD major, DWORD minor) noexcept {
  OSVERSIONINFOEXW wanted = {};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = major;
  wanted.dwMinorVersion = minor;
  wanted.wServicePackMajor = 0;
  ULONGLONG conditions = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
  conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
  conditions = ::VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
  const DWORD fields = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
  return ::VerifyVersionInfoW(&wanted, fields, conditions) != FALSE;
}

// Systems before 6.2 have no usable large folder icon in their image list.
bool TakesLargeFolderFromStock() noexcept {
  return IsSystemAtLeast(6, 0) && !IsSystemAtLeast(6, 2);
}

UniqueGpBitmap StockFolderIcon() noexcept {
  SHSTOCKICONINFO stock = {};
  stock.cbSize = sizeof(stock);
  if (FAILED(::SHGetStockIconInfo(SIID_FOLDER, kStockIconFlags, &stock))) return {};
  const UniqueModule library(::LoadLibraryW(stock.szPath));
  if (!library) return {};
  // A negative index is a resource's identifier.
  const auto* resource = MAKEINTRESOURCEW(-stock.iIcon);
  const UniqueIcon icon(static_cast<HICON>(
      ::LoadImageW(library.Get(), resource, IMAGE_ICON, kStockFolderSize, kStockFolderSize, 0)));
  return IconToBitmap(icon.Get());
}

// The Shell's information about a name that need not exist.
struct TypeInfo {
  UniqueIcon icon;
  int imageIndex = 0;
  bool known = false;
};

TypeInfo AskShell(const std::wstring& name, bool isFolder, UINT wanted) noexcept {
  const DWORD attributes = isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  SHFILEINFOW info = {};
  const DWORD_PTR answer =
      ::SHGetFileInfoW(name.c_str(), attributes, &info, sizeof(info), wanted | SHGFI_USEFILEATTRIBUTES);
  return {UniqueIcon(info.hIcon), info.iIcon, answer != 0};
}

UniqueGpBitmap JumboIcon(const std::wstring& name, bool isFolder) noexcept {
  const TypeInfo type = AskShell(name, isFolder, SHGFI_SYSICONINDEX);
  if (!type.known) return {};
  UniqueCom<IImageList> list;
  if (FAILED(::SHGetImageList(SHIL_JUMBO, kImageListId, reinterpret_cast<void**>(list.Out())))) return {};
  UniqueIcon icon;
  if (FAILED(list.Get()->GetIcon(type.imageIndex, ILD_NORMAL, icon.Out()))) return {};
  return IconToBitmap(icon.Get());
}

UniqueGpBitmap SmallIcon(const std::wstring& name, bool isFolder) noexcept {
  return IconToBitmap(AskShell(name, isFolder, SHGFI_ICON | SHGFI_SMALLICON).icon.Get());
}

}  // namespace

UniqueGpBitmap GetTypeIcon(const std::wstring& name, bool large, bool isFolder) {
  if (!large) return SmallIcon(name, isFolder);
  if (isFolder && TakesLargeFolderFromStock()) return StockFolderIcon();
  return JumboIcon(name, isFolder);
}

}  // namespace veskard
