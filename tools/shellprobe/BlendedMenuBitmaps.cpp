#include "tools/shellprobe/BlendedMenuBitmaps.h"

#include <cstdint>

namespace veskard {
namespace {

bool IsWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

HBITMAP ItemBitmap(HMENU menu, UINT position) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_BITMAP;
  return ::GetMenuItemInfoW(menu, position, TRUE, &info) ? info.hbmpItem : nullptr;
}

void SetItemBitmap(HMENU menu, UINT position, HBITMAP bitmap) {
  MENUITEMINFOW info = {};
  info.cbSize = sizeof info;
  info.fMask = MIIM_BITMAP;
  info.hbmpItem = bitmap;
  ::SetMenuItemInfoW(menu, position, TRUE, &info);
}

// The colours are already multiplied by the alpha.
uint32_t BlendOver(uint32_t pixel, COLORREF background) {
  const uint32_t clear = 255 - (pixel >> 24);
  const auto mix = [clear](uint32_t over, uint32_t under) {
    return (over & 0xFF) + (under & 0xFF) * clear / 255;
  };
  return mix(pixel >> 16, background) << 16 | mix(pixel >> 8, background >> 8) << 8 |
         mix(pixel, background >> 16);
}

UniqueBitmap BlendedCopy(HBITMAP original) {
  BITMAP header = {};
  if (::GetObjectW(original, sizeof header, &header) == 0) return {};
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = header.bmWidth;
  info.bmiHeader.biHeight = header.bmHeight;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  UniqueBitmap copy(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const UniqueMemoryDc context(::CreateCompatibleDC(nullptr));
  if (!copy || !context) return {};
  ::GetDIBits(context.Get(), original, 0, static_cast<UINT>(header.bmHeight), bits, &info, DIB_RGB_COLORS);
  auto* const pixels = static_cast<uint32_t*>(bits);
  const COLORREF background = ::GetSysColor(COLOR_MENU);
  for (LONG i = 0; i < header.bmWidth * header.bmHeight; ++i) pixels[i] = BlendOver(pixels[i], background);
  return copy;
}

}  // namespace

BlendedMenuBitmaps::BlendedMenuBitmaps(HMENU menu) : menu_(menu) {
  if (!IsWine()) return;
  const int count = ::GetMenuItemCount(menu);
  for (UINT position = 0; static_cast<int>(position) < count; ++position) {
    const HBITMAP original = ItemBitmap(menu, position);
    UniqueBitmap copy = BlendedCopy(original);
    if (!copy) continue;
    SetItemBitmap(menu, position, copy.Get());
    replaced_.push_back({position, original, std::move(copy)});
  }
}

BlendedMenuBitmaps::~BlendedMenuBitmaps() {
  for (const Replaced& item : replaced_) SetItemBitmap(menu_, item.position, item.original);
}

}  // namespace veskard
