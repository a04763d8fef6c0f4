#include "bench/icons/BaselineIcons.h"

#include <windows.h>
// The image lists' header needs the common controls' types.
#include <commctrl.h>

#include <commoncontrols.h>
#include <shellapi.h>

#include <cstring>
#include <vector>

#include "fs/util/OpenMode.h"

namespace veskard::bench {
namespace {

namespace gdip = Gdiplus::DllExports;

UniqueFile OpenMark(const std::wstring& placeholder) {
  return UniqueFile(::CreateFileW((placeholder + L":com.nimbrel.VeskardAgent").c_str(), GENERIC_READ,
                                  kShareEverything, nullptr, OPEN_EXISTING, 0, nullptr));
}

SIZE SizeOf(Gdiplus::GpBitmap* bitmap) {
  UINT width = 0, height = 0;
  gdip::GdipGetImageWidth(bitmap, &width);
  gdip::GdipGetImageHeight(bitmap, &height);
  return {static_cast<LONG>(width), static_cast<LONG>(height)};
}

UniqueGpBitmap EmptyBitmap(SIZE size) {
  UniqueGpBitmap bitmap;
  gdip::GdipCreateBitmapFromScan0(size.cx, size.cy, 0, PixelFormat32bppARGB, nullptr, bitmap.Out());
  return bitmap;
}

UniqueGpGraphics Canvas(Gdiplus::GpBitmap* bitmap) {
  UniqueGpGraphics graphics;
  gdip::GdipGetImageGraphicsContext(bitmap, graphics.Out());
  return graphics;
}

Gdiplus::BitmapData Lock(Gdiplus::GpBitmap* bitmap, Gdiplus::PixelFormat format) {
  Gdiplus::BitmapData bits = {};
  gdip::GdipBitmapLockBits(bitmap, nullptr, Gdiplus::ImageLockModeRead, format, &bits);
  return bits;
}

void CopyPixels(Gdiplus::GpBitmap* bitmap) {
  const SIZE size = SizeOf(bitmap);
  Gdiplus::BitmapData bits = Lock(bitmap, PixelFormat32bppARGB);
  std::vector<BYTE> copy(static_cast<size_t>(bits.Stride) * static_cast<size_t>(size.cy));
  std::memcpy(copy.data(), bits.Scan0, copy.size());
  gdip::GdipBitmapUnlockBits(bitmap, &bits);
}

UniqueGpBitmap Badge(SIZE size, int progress) {
  UniqueGpBitmap bitmap = EmptyBitmap(size);
  const UniqueGpGraphics graphics = Canvas(bitmap.Get());
  const auto share = [&size](int percent) { return static_cast<INT>(size.cx * percent / 100); };
  const auto pen = static_cast<Gdiplus::REAL>(size.cx / 16);
  Gdiplus::GpSolidFill* fill = nullptr;
  gdip::GdipCreateSolidFill(0x96FFFFFF, &fill);
  const UniqueGpBrush disc(fill);
  UniqueGpPen ring, arc;
  gdip::GdipCreatePen1(0xFFB3B3B3, pen, Gdiplus::UnitWorld, ring.Out());
  gdip::GdipCreatePen1(0xFF00C3FF, pen * 1.5f, Gdiplus::UnitWorld, arc.Out());
  gdip::GdipFillEllipseI(graphics.Get(), disc.Get(), share(14), share(14), share(70), share(70));
  gdip::GdipDrawEllipseI(graphics.Get(), ring.Get(), share(21), share(21), share(56), share(56));
  gdip::GdipDrawArcI(graphics.Get(), arc.Get(), share(21), share(21), share(56), share(56), -92.0f,
                     static_cast<Gdiplus::REAL>(progress) * 3.6f);
  return bitmap;
}

BITMAPV5HEADER BottomUpArgb(SIZE size) {
  BITMAPV5HEADER header = {};
  header.bV5Size = sizeof(header);
  header.bV5Width = size.cx;
  header.bV5Height = size.cy;
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5Compression = BI_BITFIELDS;
  const DWORD redGreenBlueAlpha[] = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
  std::memcpy(&header.bV5RedMask, redGreenBlueAlpha, sizeof(redGreenBlueAlpha));
  return header;
}

// A white bitmap, the rows turned over, an icon of it.
void Convert(Gdiplus::GpBitmap* canvas, SIZE size) {
  const BITMAPV5HEADER header = BottomUpArgb(size);
  const UniqueScreenDc screen(::GetDC(nullptr));
  void* pixels = nullptr;
  const UniqueBitmap dib(::CreateDIBSection(screen.Get(), reinterpret_cast<const BITMAPINFO*>(&header),
                                            DIB_RGB_COLORS, &pixels, nullptr, 0));
  const UniqueMemoryDc dc(::CreateCompatibleDC(nullptr));
  const HGDIOBJ before = ::SelectObject(dc.Get(), dib.Get());
  ::PatBlt(dc.Get(), 0, 0, size.cx, size.cy, WHITENESS);
  ::SelectObject(dc.Get(), before);

  Gdiplus::BitmapData bits = Lock(canvas, PixelFormat32bppARGB);
  const size_t rowBytes = static_cast<size_t>(size.cx) * 4;
  auto* target = static_cast<BYTE*>(pixels) + rowBytes * static_cast<size_t>(size.cy);
  const auto* row = static_cast<const BYTE*>(bits.Scan0);
  for (LONG y = 0; y < size.cy; ++y, row += bits.Stride) std::memcpy(target -= rowBytes, row, rowBytes);
  gdip::GdipBitmapUnlockBits(canvas, &bits);

  const UniqueBitmap mask(::CreateBitmap(size.cx, size.cy, 1, 1, nullptr));
  ICONINFO info = {TRUE, 0, 0, mask.Get(), dib.Get()};
  const UniqueIcon icon(::CreateIconIndirect(&info));
}

}  // namespace

UniqueGpBitmap BaselineBitmapOf(HICON icon) {
  ICONINFO info = {};
  ::GetIconInfo(icon, &info);
  const UniqueBitmap colours(info.hbmColor), mask(info.hbmMask);
  UniqueGpBitmap wrapped;
  gdip::GdipCreateBitmapFromHBITMAP(colours.Get(), nullptr, wrapped.Out());
  const SIZE size = SizeOf(wrapped.Get());
  Gdiplus::PixelFormat format = 0;
  gdip::GdipGetImagePixelFormat(wrapped.Get(), &format);
  Gdiplus::BitmapData bits = Lock(wrapped.Get(), format);
  UniqueGpBitmap copy = EmptyBitmap(size);
  {
    UniqueGpBitmap view;
    gdip::GdipCreateBitmapFromScan0(size.cx, size.cy, bits.Stride, PixelFormat32bppARGB,
                                    static_cast<BYTE*>(bits.Scan0), view.Out());
    gdip::GdipDrawImageI(Canvas(copy.Get()).Get(), view.Get(), 0, 0);
  }
  gdip::GdipBitmapUnlockBits(wrapped.Get(), &bits);
  return copy;
}

void BaselineMark(const std::wstring& placeholder) {
  const UniqueFile mark = OpenMark(placeholder);
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(OpenMark(placeholder).Get(), &size);
  char bytes[4096];
  DWORD read = 0;
  ::ReadFile(mark.Get(), bytes, static_cast<DWORD>(size.QuadPart), &read, nullptr);
}

UniqueIcon BaselineShellIcon(const std::wstring& name, bool large) {
  SHFILEINFOW info = {};
  const UINT wanted = large ? SHGFI_SYSICONINDEX : SHGFI_ICON | SHGFI_SMALLICON;
  ::SHGetFileInfoW(name.c_str(), FILE_ATTRIBUTE_NORMAL, &info, sizeof(info),
                   wanted | SHGFI_USEFILEATTRIBUTES);
  UniqueIcon icon(info.hIcon);
  if (!large) return icon;
  UniqueCom<IImageList> list;
  ::SHGetImageList(SHIL_JUMBO, __uuidof(IImageList), reinterpret_cast<void**>(list.Out()));
  list.Get()->GetIcon(info.iIcon, ILD_NORMAL, icon.Out());
  return icon;
}

void BaselineExtraction(Gdiplus::GpBitmap* typeIcon, Gdiplus::GpBitmap* badge) {
  const SIZE size = SizeOf(typeIcon);
  UniqueGpBitmap canvas;
  gdip::GdipCloneBitmapAreaI(0, 0, size.cx, size.cy, PixelFormat32bppARGB, typeIcon, canvas.Out());
  gdip::GdipDrawImageRectI(Canvas(canvas.Get()).Get(), badge, 0, 0, size.cx, size.cy);
  Convert(canvas.Get(), size);
}

void BaselineColdIcon(const std::wstring& placeholder, const std::wstring& name, bool large, int progress) {
  BaselineMark(placeholder);
  const UniqueGpBitmap typeIcon = BaselineBitmapOf(BaselineShellIcon(name, large).Get());
  CopyPixels(typeIcon.Get());
  BaselineExtraction(typeIcon.Get(), Badge(SizeOf(typeIcon.Get()), progress).Get());
}

}  // namespace veskard::bench
