#include "tools/shellprobe/ExtractedIcons.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shlobj.h>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Canvas.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard {
namespace {

constexpr UINT kLargeSize = 32;
constexpr UINT kSmallSize = 16;

ToolError NoIcon(const std::wstring& file, HRESULT result) {
  return ToolError(kNoIcon, "the handler has no icon for " + ToUtf8(file) + " (" + HexCode(result) + ")");
}

UniqueCom<IExtractIconW> LoadHandler(const ExtensionClasses& classes, const std::wstring& file) {
  const UniqueCom<IUnknown> object = classes.NewIconHandler();
  UniqueCom<IPersistFile> document;
  UniqueCom<IExtractIconW> extractor;
  HRESULT result = object.Get()->QueryInterface(IID_IPersistFile, OutVoid(document));
  if (SUCCEEDED(result)) result = document.Get()->Load(file.c_str(), STGM_READ);
  if (SUCCEEDED(result)) result = object.Get()->QueryInterface(IID_IExtractIconW, OutVoid(extractor));
  if (FAILED(result)) throw NoIcon(file, result);
  return extractor;
}

SIZE IconSize(HICON icon) {
  ICONINFO info = {};
  if (!::GetIconInfo(icon, &info)) throw LastSystemError("the icon cannot be read");
  const UniqueBitmap mask(info.hbmMask);
  const UniqueBitmap colour(info.hbmColor);
  BITMAP bitmap = {};
  ::GetObjectW(colour ? colour.Get() : mask.Get(), sizeof bitmap, &bitmap);
  // Without a colour bitmap, the mask holds both halves, one above the other.
  return {bitmap.bmWidth, colour ? bitmap.bmHeight : bitmap.bmHeight / 2};
}

// Either icon may be missing.
PlaceholderIcons Extract(const ExtensionClasses& classes, const std::wstring& file) {
  const UniqueCom<IExtractIconW> extractor = LoadHandler(classes, file);
  wchar_t location[MAX_PATH] = {};
  int index = 0;
  UINT flags = 0;
  HRESULT result = extractor.Get()->GetIconLocation(GIL_FORSHELL, location,
                                                    static_cast<UINT>(std::size(location)), &index, &flags);
  PlaceholderIcons icons;
  if (SUCCEEDED(result)) {
    result = extractor.Get()->Extract(location, static_cast<UINT>(index), icons.large.Out(),
                                      icons.small.Out(), MAKELONG(kLargeSize, kSmallSize));
  }
  if (FAILED(result)) throw NoIcon(file, result);
  return icons;
}

void Expect(const UniqueIcon& icon, const std::string& name, const std::wstring& file) {
  if (icon) return;
  throw ToolError(kNoIcon, "the handler could not draw the " + name + " icon for " + ToUtf8(file));
}

}  // namespace

PlaceholderIcons ExtractPlaceholderIcons(const ExtensionClasses& classes, const std::wstring& file) {
  PlaceholderIcons icons = Extract(classes, file);
  Expect(icons.large, "large", file);
  Expect(icons.small, "small", file);
  return icons;
}

UniqueIcon ExtractPlaceholderIcon(const ExtensionClasses& classes, const std::wstring& file,
                                  IconClass which) {
  PlaceholderIcons icons = Extract(classes, file);
  const bool isLarge = which == IconClass::kLarge;
  UniqueIcon icon = std::move(isLarge ? icons.large : icons.small);
  Expect(icon, isLarge ? "large" : "small", file);
  return icon;
}

Picture PaintIcon(HICON icon, uint32_t background) {
  const SIZE size = IconSize(icon);
  Canvas canvas(size.cx, size.cy);
  canvas.Fill(background | 0xFF000000);
  ::DrawIconEx(canvas.Context(), 0, 0, icon, size.cx, size.cy, 0, nullptr, DI_NORMAL);
  return canvas.CopyOpaque();
}

Picture IconPixels(HICON icon) {
  ICONINFO info = {};
  if (!::GetIconInfo(icon, &info)) throw LastSystemError("the icon cannot be read");
  const UniqueBitmap mask(info.hbmMask);
  const UniqueBitmap colour(info.hbmColor);
  const SIZE size = IconSize(icon);
  BITMAPINFO format = {};
  format.bmiHeader.biSize = sizeof format.bmiHeader;
  format.bmiHeader.biWidth = size.cx;
  format.bmiHeader.biHeight = -size.cy;  // rows from the top
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  Picture picture = {size.cx, size.cy, std::vector<uint32_t>(static_cast<size_t>(size.cx * size.cy))};
  const UniqueMemoryDc context(::CreateCompatibleDC(nullptr));
  ::GetDIBits(context.Get(), colour.Get(), 0, static_cast<UINT>(size.cy), picture.pixels.data(), &format,
              DIB_RGB_COLORS);
  return picture;
}

}  // namespace veskard
