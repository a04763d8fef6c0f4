// The least that an icon's rules ask for, as plain calls: what the benchmarks hold
// the library against. Nothing is checked, nothing is kept.
#pragma once

#include <string>

#include "core/GdiplusOwners.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {

/// The placeholder's mark: opened to be read, opened again for its size.
void BaselineMark(const std::wstring& placeholder);

/// The icon as a bitmap with its alpha, drawn onto an empty one.
UniqueGpBitmap BaselineBitmapOf(HICON icon);

/// The Shell's icon for a name.
UniqueIcon BaselineShellIcon(const std::wstring& name, bool large);

/// One clone, one draw, one conversion to an icon.
void BaselineExtraction(Gdiplus::GpBitmap* typeIcon, Gdiplus::GpBitmap* badge);

/// Everything that the first icon of a type and the first badge take: the mark, the
/// Shell's icon as a bitmap, a copy of its pixels in place of the wash-out, the
/// badge's three shapes, and the extraction.
void BaselineColdIcon(const std::wstring& placeholder, const std::wstring& name, bool large, int progress);

}  // namespace veskard::bench
