// The owners of GDI+'s flat-interface objects.
#pragma once

#include "core/GdiplusFunctions.h"
#include "core/WindowsOwners.h"

namespace veskard {

/// A late function in the form in which a template takes it.
template <auto* kFunction, class T>
void CallLate(T value) noexcept {
  (*kFunction)(value);
}

template <class T, auto* kClose>
using GdiplusOwner = Owner<SystemResource<T*, &CallLate<kClose, T*>>>;

using UniqueGpBitmap = GdiplusOwner<Gdiplus::GpBitmap, &gdip::GdipDisposeImage>;
using UniqueGpGraphics = GdiplusOwner<Gdiplus::GpGraphics, &gdip::GdipDeleteGraphics>;
using UniqueGpPen = GdiplusOwner<Gdiplus::GpPen, &gdip::GdipDeletePen>;
using UniqueGpBrush = GdiplusOwner<Gdiplus::GpBrush, &gdip::GdipDeleteBrush>;

}  // namespace veskard
