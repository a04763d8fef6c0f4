#include "fs/util/LongPath.h"

#include <windows.h>

#include <string_view>

namespace veskard {
namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongUncPrefix = L"\\\\?\\UNC\\";
constexpr size_t kUncPrefixLength = 2;
constexpr size_t kLongestPath = 32767;  // in whatever form

static_assert(kLongestPlainPath == MAX_PATH - 1);

constexpr bool IsSeparator(wchar_t c) noexcept {
  return c == L'\\' || c == L'/';
}

// C:\...
constexpr bool IsDrivePath(std::wstring_view path) noexcept {
  return path.size() > 2 && path[1] == L':' && IsSeparator(path[2]);
}

// \\server\..., but neither \\?\... nor \\.\...
constexpr bool IsUncPath(std::wstring_view path) noexcept {
  if (path.size() < 4 || !IsSeparator(path[0]) || !IsSeparator(path[1])) return false;
  return (path[2] != L'?' && path[2] != L'.') || !IsSeparator(path[3]);
}

// Empty when Windows refuses. An absolute path only becomes shorter.
std::wstring Resolved(const std::wstring& path) {
  std::wstring full(path.size() + 1, L'\0');
  const DWORD length =
      ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  full.resize(length < full.size() ? length : 0);
  return full;
}

}  // namespace

std::wstring LongPathForm(std::wstring path) {
  if (path.size() <= kLongestPlainPath || path.size() > kLongestPath) return path;
  if (!IsDrivePath(path) && !IsUncPath(path)) return path;
  std::wstring full = Resolved(path);
  if (IsDrivePath(full)) return full.insert(0, kLongPrefix);
  if (IsUncPath(full)) return full.replace(0, kUncPrefixLength, kLongUncPrefix);
  return path;
}

}  // namespace veskard
