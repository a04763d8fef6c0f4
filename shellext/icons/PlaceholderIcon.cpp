#include "shellext/icons/PlaceholderIcon.h"

#include <shlwapi.h>

#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/bitmaps/IconBitmap.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"
#include "shellext/icons/IconCache.h"
#include "shellext/icons/StatusCircle.h"
#include "shellext/icons/TypeIcon.h"
#include "shellext/icons/WashOut.h"
#include "shellext/module/GdiplusUser.h"

namespace veskard {
namespace {

// Folders have no file type, so this one is the key of their cache entry.
constexpr wchar_t kFolderPseudoExtension[] = L".vlk2fldr";

constexpr int32_t kProgressUnknown = -1;

// The cache's entry, made now where there is none; null on failure, which is not
// kept, so that the next composition tries again.
Gdiplus::GpBitmap* WashedOutTypeIcon(IconCache& cache, const std::wstring& targetName, bool large,
                                     bool isFolder) {
  const std::wstring key = TypeIconKey(targetName, large);
  if (Gdiplus::GpBitmap* const cached = cache.Find(key)) return cached;
  UniqueGpBitmap icon = GetTypeIcon(targetName, large, isFolder);
  if (!WashOut(icon.Get())) return nullptr;
  return cache.Store(key, std::move(icon));
}

UniqueGpBitmap Clone(Gdiplus::GpBitmap* bitmap, const BitmapShape& shape) noexcept {
  UniqueGpBitmap clone;
  gdip::GdipCloneBitmapAreaI(0, 0, static_cast<INT>(shape.width), static_cast<INT>(shape.height),
                             shape.format, bitmap, clone.Out());
  return clone;
}

void DrawOver(Gdiplus::GpBitmap* canvas, const BitmapShape& shape, Gdiplus::GpBitmap* picture) noexcept {
  const UniqueGpGraphics graphics = GraphicsOn(canvas);
  gdip::GdipDrawImageRectI(graphics.Get(), picture, 0, 0, static_cast<INT>(shape.width),
                           static_cast<INT>(shape.height));
}

// The badge as big as the first icon of the size class that needed it; over an icon
// of another size it is scaled. A badge that lacks a part serves this icon only.
void DrawBadge(IconCache& cache, Gdiplus::GpBitmap* canvas, const BitmapShape& shape, int32_t progress,
               bool large) {
  const std::wstring key = BadgeKey(progress, large);
  Gdiplus::GpBitmap* cached = cache.Find(key);
  if (cached != nullptr) return DrawOver(canvas, shape, cached);

  UniqueGpBitmap badge = NewBitmap(shape);
  const bool complete = DrawStatusCircle(badge.Get(), progress);
  DrawOver(canvas, shape, badge.Get());
  if (complete) cache.Store(key, std::move(badge));
}

UniqueIcon Compose(IconCache& cache, Gdiplus::GpBitmap* typeIcon, int32_t progress, bool large) {
  const BitmapShape shape = ShapeOf(typeIcon);
  const UniqueGpBitmap canvas = Clone(typeIcon, shape);
  if (!canvas) return {};
  DrawBadge(cache, canvas.Get(), shape, progress, large);
  return BitmapToIcon(canvas.Get());
}

}  // namespace

UniqueIcon ComposePlaceholderIcon(const std::wstring& placeholderPath, bool large) {
  if (!StartGdiplus()) return {};
  const PlaceholderState state = ReadPlaceholderState(placeholderPath);
  const std::wstring targetName = TargetName(placeholderPath, state.typeFlag);

  IconCache& cache = SharedIconCache();
  const CriticalSectionHold hold(cache.Lock());
  Gdiplus::GpBitmap* const typeIcon = WashedOutTypeIcon(cache, targetName, large, state.typeFlag);
  if (typeIcon == nullptr) return {};
  if (state.progress != kProgressUnknown) return Compose(cache, typeIcon, state.progress, large);
  // The folder matters only here. In a folder that is not selective the file will be
  // received, so it shows the badge of 0 percent.
  if (LiesInSelectiveFolder(placeholderPath)) return BitmapToIcon(typeIcon);
  return Compose(cache, typeIcon, 0, large);
}

std::wstring TargetName(const std::wstring& placeholderPath, bool isFolder) {
  const wchar_t* const path = placeholderPath.c_str();
  const wchar_t* const extension = ::PathFindExtensionW(path);
  std::wstring target(path, extension);
  if (isFolder) target += kFolderPseudoExtension;
  return target;
}

}  // namespace veskard
