#include "shellext/contextmenu/MenuPictures.h"

#include <algorithm>
#include <new>

#include "core/ModuleHandle.h"
#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/bitmaps/IconBitmap.h"
#include "shellext/module/GdiplusUser.h"

namespace veskard {
namespace {

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

UniqueIcon LoadIcon(HMODULE module, const wchar_t* name, UINT type, SIZE size) noexcept {
  return UniqueIcon(static_cast<HICON>(::LoadImageW(module, name, type, size.cx, size.cy, 0)));
}

UniqueIcon LoadIconBesideOrOf(HMODULE module, const MenuIcon& icon, SIZE size) {
  const std::wstring file = PathBesideModule(ReadModulePath(module), icon.fileName);
  UniqueIcon loaded = LoadIcon(nullptr, file.c_str(), kImageTypeOfFiles, size);
  if (!loaded) loaded = LoadIcon(module, MAKEINTRESOURCEW(icon.resourceId), IMAGE_ICON, size);
  return loaded;
}

bool DrawScaled(Gdiplus::GpBitmap* image, Gdiplus::GpBitmap* canvas, SIZE size) noexcept {
  const UniqueGpGraphics graphics = GraphicsOn(canvas);
  return gdip::GdipDrawImageRectI(graphics.Get(), image, 0, 0, size.cx, size.cy) == Gdiplus::Ok;
}

// 32 bits a pixel, the top row first.
BITMAPINFO LayoutOf(SIZE size) noexcept {
  BITMAPINFO layout = {};
  layout.bmiHeader.biSize = sizeof(layout.bmiHeader);
  layout.bmiHeader.biWidth = size.cx;
  layout.bmiHeader.biHeight = -size.cy;
  layout.bmiHeader.biPlanes = 1;
  layout.bmiHeader.biBitCount = 32;
  layout.bmiHeader.biCompression = BI_RGB;
  return layout;
}

// None on failure.
std::vector<uint32_t> PixelsOf(HBITMAP bitmap, SIZE size) {
  std::vector<uint32_t> pixels(static_cast<size_t>(size.cx) * static_cast<size_t>(size.cy));
  BITMAPINFO layout = LayoutOf(size);
  const UniqueMemoryDc dc(::CreateCompatibleDC(nullptr));
  const auto rows = static_cast<UINT>(size.cy);
  if (::GetDIBits(dc.Get(), bitmap, 0, rows, pixels.data(), &layout, DIB_RGB_COLORS) != size.cy) return {};
  return pixels;
}

std::vector<uint32_t> DrawPixels(const MenuIcon& icon, SIZE size) {
  if (!StartGdiplus()) return {};
  const UniqueBitmap drawn = DrawMenuBitmap(LoadIconBesideOrOf(ModuleOfThisCode(), icon, size).Get(), size);
  return drawn ? PixelsOf(drawn.Get(), size) : std::vector<uint32_t>();
}

UniqueBitmap BitmapOf(const std::vector<uint32_t>& pixels, SIZE size) noexcept {
  const BITMAPINFO layout = LayoutOf(size);
  void* memory = nullptr;
  UniqueBitmap bitmap(::CreateDIBSection(nullptr, &layout, DIB_RGB_COLORS, &memory, nullptr, 0));
  if (bitmap) std::copy(pixels.begin(), pixels.end(), static_cast<uint32_t*>(memory));
  return bitmap;
}

MenuPictures sharedPictures;

}  // namespace

UniqueBitmap MenuPictures::NewBitmap(uint32_t icon, SIZE size) noexcept {
  try {
    const CriticalSectionHold hold(lock_);
    const Picture* picture = Find(icon, size);
    if (picture == nullptr) picture = Draw(icon, size);
    return picture != nullptr ? BitmapOf(picture->pixels, size) : UniqueBitmap();
  } catch (const std::bad_alloc&) {
    return {};
  }
}

const MenuPictures::Picture* MenuPictures::Find(uint32_t icon, SIZE size) const noexcept {
  for (const Picture& picture : kept_) {
    if (picture.icon == icon && picture.size.cx == size.cx && picture.size.cy == size.cy) return &picture;
  }
  return nullptr;
}

const MenuPictures::Picture* MenuPictures::Draw(uint32_t icon, SIZE size) {
  Picture drawn = {icon, size, DrawPixels(kMenuIcons[icon], size)};
  if (drawn.pixels.empty()) return nullptr;
  if (kept_.size() == kMostKept) kept_.erase(kept_.begin());
  return &kept_.emplace_back(std::move(drawn));
}

MenuPictures& SharedMenuPictures() noexcept {
  return sharedPictures;
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
