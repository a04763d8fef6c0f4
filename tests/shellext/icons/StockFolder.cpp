#include "tests/shellext/icons/StockFolder.h"

#include <gtest/gtest.h>

#include "core/ModuleHandle.h"

namespace veskard::test {

bool ClaimsToBeOldSystem() {
  OSVERSIONINFOEXW limit = {};
  limit.dwOSVersionInfoSize = sizeof(limit);
  limit.dwMajorVersion = 6;
  limit.dwMinorVersion = 2;
  DWORDLONG less = 0;
  less = ::VerSetConditionMask(less, VER_MAJORVERSION, VER_LESS);
  less = ::VerSetConditionMask(less, VER_MINORVERSION, VER_LESS);
  return ::VerifyVersionInfoW(&limit, VER_MAJORVERSION | VER_MINORVERSION, less) != FALSE;
}

Picture StockFolderPicture() {
  SHSTOCKICONINFO stock = {};
  stock.cbSize = sizeof(stock);
  EXPECT_EQ(::SHGetStockIconInfo(SIID_FOLDER, SHGSI_ICONLOCATION, &stock), S_OK);
  const UniqueModule library(::LoadLibraryW(stock.szPath));
  const UniqueIcon icon(static_cast<HICON>(
      ::LoadImageW(library.Get(), MAKEINTRESOURCEW(-stock.iIcon), IMAGE_ICON, 256, 256, 0)));
  return PixelsOf(icon.Get());
}

StockFolderPatch::StockFolderPatch(int resource) : StockFolderPatch(ReadModulePath(nullptr), resource) {}

StockFolderPatch::StockFolderPatch(const std::wstring& library, int resource)
    : patch_("SHGetStockIconInfo", [=](auto, SHSTOCKICONID id, UINT flags, SHSTOCKICONINFO* info) {
        EXPECT_EQ(id, SIID_FOLDER);
        EXPECT_EQ(flags, UINT{0x4000});
        EXPECT_EQ(info->cbSize, sizeof(*info));
        info->iIcon = -resource;
        library.copy(info->szPath, MAX_PATH - 1);
        return S_OK;
      }) {}

}  // namespace veskard::test
