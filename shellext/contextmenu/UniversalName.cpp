#include "shellext/contextmenu/UniversalName.h"

#include <windows.h>
// The network's calls need the basic types.
#include <winnetwk.h>

#include <cstddef>
#include <memory>

namespace veskard {
namespace {

// One record and 32768 characters.
constexpr DWORD kBufferSize = 65544;

}  // namespace

std::wstring ToUniversalName(const std::wstring& path) {
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  DWORD size = kBufferSize;
  if (::WNetGetUniversalNameW(path.c_str(), UNIVERSAL_NAME_INFO_LEVEL, buffer.get(), &size) != NO_ERROR ||
      size == 0) {
    return path;
  }
  return reinterpret_cast<const UNIVERSAL_NAME_INFOW*>(buffer.get())->lpUniversalName;
}

}  // namespace veskard
