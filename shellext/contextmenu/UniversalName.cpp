#include "shellext/contextmenu/UniversalName.h"

#include <cstddef>
#include <memory>

namespace veskard {
namespace {

// One record and 32768 characters.
constexpr DWORD kBufferSize = 65544;

}  // namespace

std::wstring QueryUniversalName(const std::wstring& path, UniversalNameQuery query) {
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  DWORD size = kBufferSize;
  if (query(path.c_str(), UNIVERSAL_NAME_INFO_LEVEL, buffer.get(), &size) != NO_ERROR || size == 0) {
    return path;
  }
  return reinterpret_cast<const UNIVERSAL_NAME_INFOW*>(buffer.get())->lpUniversalName;
}

std::wstring ToUniversalName(const std::wstring& path) {
  return QueryUniversalName(path, &::WNetGetUniversalNameW);
}

}  // namespace veskard
