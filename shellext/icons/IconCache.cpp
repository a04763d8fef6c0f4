#include "shellext/icons/IconCache.h"

#include <memory>

namespace veskard {
namespace {

// Holds the cache. Its destruction destroys only the lock: remaining bitmaps belong to
// live handlers, GDI+ may be shut down, and threads that ended with the process may have
// left the map in the middle of a change.
union CacheStorage {
  CacheStorage() : cache() {}
  ~CacheStorage() { std::destroy_at(&cache.Lock()); }
  IconCache cache;
};

CacheStorage storage;

wchar_t SizeClassLetter(bool large) noexcept {
  return large ? L'L' : L'S';
}

}  // namespace

Gdiplus::GpBitmap* IconCache::Find(const std::wstring& key) const noexcept {
  const auto found = bitmaps_.find(key);
  return found == bitmaps_.end() ? nullptr : found->second.Get();
}

Gdiplus::GpBitmap* IconCache::Store(const std::wstring& key, UniqueGpBitmap bitmap) {
  UniqueGpBitmap& entry = bitmaps_[key];
  entry = std::move(bitmap);
  return entry.Get();
}

IconCache& SharedIconCache() noexcept {
  return storage.cache;
}

std::wstring TypeIconKey(const std::wstring& targetName, bool large) {
  const size_t dot = targetName.rfind(L'.');
  std::wstring key = dot == std::wstring::npos ? L"." : targetName.substr(dot);
  key += SizeClassLetter(large);
  return key;
}

std::wstring BadgeKey(int32_t progress, bool large) {
  return std::to_wstring(progress) + SizeClassLetter(large);
}

}  // namespace veskard
