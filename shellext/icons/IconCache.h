// IconCache: washed-out type icons and badges, for reuse.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "core/CriticalSection.h"
#include "core/GdiplusOwners.h"

namespace veskard {

/// Bitmaps by key. Two kinds of key share the map, each ending in its size class,
/// "L" for large and "S" for small:
///
///     .docxL  .S  .vlk2fldrL     a type's washed-out icon
///     45L  0S                    the badge of a progress
///
/// Composition holds Lock() from its first look-up until its icon is done, since
/// it draws from bitmaps that the map owns. Callers of the other functions hold it
/// too.
class IconCache {
 public:
  CriticalSection& Lock() noexcept { return lock_; }

  /// Null when there is no such entry. Stays valid while the lock is held and the
  /// key is not stored again.
  Gdiplus::GpBitmap* Find(const std::wstring& key) const noexcept;

  /// Keeps `bitmap`, in place of the key's old one, and gives it back as Find
  /// would. Throws std::bad_alloc; the bitmap is then gone.
  Gdiplus::GpBitmap* Store(const std::wstring& key, UniqueGpBitmap bitmap);

  /// Destroys every bitmap. GDI+ must still be running.
  void Clear() noexcept { bitmaps_.clear(); }

  size_t Size() const noexcept { return bitmaps_.size(); }

 private:
  CriticalSection lock_;
  std::map<std::wstring, UniqueGpBitmap> bitmaps_;
};

/// The extension's only cache. Unloading the library does not destroy its bitmaps,
/// because GDI+ may have been shut down before.
IconCache& SharedIconCache() noexcept;

/// The key of the type icon for `targetName`: its last "." and what follows, or
/// "." alone where it has none. The whole name is searched, so a name without an
/// extension in a folder `a.b` has a key of its own, `.b\nameL`.
std::wstring TypeIconKey(const std::wstring& targetName, bool large);

std::wstring BadgeKey(int32_t progress, bool large);

}  // namespace veskard
