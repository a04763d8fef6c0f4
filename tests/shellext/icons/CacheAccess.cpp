#include "tests/shellext/icons/CacheAccess.h"

#include <thread>

#include "core/CriticalSection.h"
#include "shellext/icons/IconCache.h"

namespace veskard::test {

void EmptyCache() {
  const CriticalSectionHold hold(SharedIconCache().Lock());
  SharedIconCache().Clear();
}

size_t CacheSize() {
  const CriticalSectionHold hold(SharedIconCache().Lock());
  return SharedIconCache().Size();
}

bool IsCached(const std::wstring& key) {
  const CriticalSectionHold hold(SharedIconCache().Lock());
  return SharedIconCache().Find(key) != nullptr;
}

bool IsCacheFree() {
  bool isFree = false;
  std::thread([&isFree] {
    isFree = SharedIconCache().Lock().TryEnter();
    if (isFree) SharedIconCache().Lock().Leave();
  }).join();
  return isFree;
}

}  // namespace veskard::test
