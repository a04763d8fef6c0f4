#include "tools/common/FullPath.h"

#include <windows.h>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {

std::wstring FullPath(const std::wstring& path) {
  constexpr size_t kDriveRootLength = 3;
  std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  if (full.empty()) throw LastSystemError("\"" + ToUtf8(path) + "\" is no path");
  full.resize(::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.size() > kDriveRootLength && full.back() == L'\\') full.pop_back();
  return full;
}

}  // namespace veskard
