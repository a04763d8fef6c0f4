#include "shellext/contextmenu/MenuBitmaps.h"

#include "core/ModuleHandle.h"
#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/bitmaps/IconBitmap.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;

// Not one of the image types that LoadImageW knows, so the call finds nothing and
// a file beside the library has no effect. Deliberate: what shipped looks the
// same everywhere, whatever lies in the folder.
constexpr UINT kImageTypeOfFiles = 17;

HMODULE ModuleOfThisCode() noexcept {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&ModuleOfThisCode), &module);
  return module;
}

SIZE MenuCheckSize() noexcept {
  return {::GetSystemMetrics(SM_CXMENUCHECK), ::GetSystemMetrics(SM_CYMENUCHECK)};
}

UniqueIcon LoadIcon(HMODULE module, const wchar_t* name, UINT type, SIZE size) noexcept {
  return UniqueIcon(static_cast<HICON>(::LoadImageW(module, name, type, size.cx, size.cy, 0)));
}

// `modulePath` is the module's own, asked for once for all icons.
UniqueIcon LoadIconBesideOrOf(HMODULE module, const std::wstring& modulePath, const MenuIcon& icon,
                              SIZE size) {
  const std::wstring file = PathBesideModule(modulePath, icon.fileName);
  UniqueIcon loaded = LoadIcon(nullptr, file.c_str(), kImageTypeOfFiles, size);
  if (!loaded) loaded = LoadIcon(module, MAKEINTRESOURCEW(icon.resourceId), IMAGE_ICON, size);
  return loaded;
}

bool DrawScaled(Gdiplus::GpBitmap* image, Gdiplus::GpBitmap* canvas, SIZE size) noexcept {
  const UniqueGpGraphics graphics = GraphicsOn(canvas);
  return gdip::GdipDrawImageRectI(graphics.Get(), image, 0, 0, size.cx, size.cy) == Gdiplus::Ok;
}

}  // namespace

std::vector<UniqueBitmap> LoadMenuBitmaps() {
  const HMODULE module = ModuleOfThisCode();
  const std::wstring modulePath = ReadModulePath(module);
  const SIZE size = MenuCheckSize();
  std::vector<UniqueBitmap> bitmaps;
  bitmaps.reserve(kMenuIcons.size());
  for (const MenuIcon& icon : kMenuIcons) {
    bitmaps.push_back(DrawMenuBitmap(LoadIconBesideOrOf(module, modulePath, icon, size).Get(), size));
  }
  return bitmaps;
}

UniqueIcon LoadMenuIcon(const MenuIcon& icon, HMODULE module, SIZE size) {
  return LoadIconBesideOrOf(module, ReadModulePath(module), icon, size);
}

UniqueBitmap DrawMenuBitmap(HICON icon, SIZE size) noexcept {
  const UniqueGpBitmap image = IconToBitmap(icon);
  BitmapShape shape = ShapeOf(image.Get());
  shape.width = static_cast<UINT>(size.cx);
  shape.height = static_cast<UINT>(size.cy);

  const UniqueGpBitmap canvas = NewBitmap(shape);
  if (!DrawScaled(image.Get(), canvas.Get(), size)) return {};
  constexpr Gdiplus::ARGB kTransparent = 0;
  HBITMAP bitmap = nullptr;
  gdip::GdipCreateHBITMAPFromBitmap(canvas.Get(), &bitmap, kTransparent);
  return UniqueBitmap(bitmap);
}

std::wstring PathBesideModule(const std::wstring& modulePath, std::wstring_view fileName) {
  const size_t end = modulePath.find_last_of(L'\\');
  std::wstring path = modulePath.substr(0, end == std::wstring::npos ? 0 : end);
  if (!path.ends_with(L'\\')) path += L'\\';
  path += fileName;
  return path;
}

}  // namespace veskard
