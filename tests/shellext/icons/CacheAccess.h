// What tests ask of the shared icon cache, each under its lock.
#pragma once

#include <cstddef>
#include <string>

namespace veskard::test {

void EmptyCache();
size_t CacheSize();
bool IsCached(const std::wstring& key);

/// Whether another thread could take the cache's lock now.
bool IsCacheFree();

}  // namespace veskard::test
