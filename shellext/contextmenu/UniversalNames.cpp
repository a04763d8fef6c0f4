#include "shellext/contextmenu/UniversalNames.h"

#include <string_view>

#include "shellext/contextmenu/NetworkFunctions.h"

namespace veskard {
namespace {

// One record and 32768 characters.
constexpr DWORD kBufferSize = 65544;
constexpr size_t kLongestName = (kBufferSize - sizeof(UNIVERSAL_NAME_INFOW)) / sizeof(wchar_t) - 1;
constexpr size_t kRootLength = 3;  // X:\ .

// "\\server\...", but neither "\\?\..." nor "\\.\...".
bool IsUncPath(std::wstring_view path) noexcept {
  return path.starts_with(L"\\\\") && !path.starts_with(L"\\\\?") && !path.starts_with(L"\\\\.");
}

bool IsLocal(UINT driveType) noexcept {
  return driveType == DRIVE_FIXED || driveType == DRIVE_REMOVABLE || driveType == DRIVE_CDROM ||
         driveType == DRIVE_RAMDISK;
}

bool IsRoot(std::wstring_view path) noexcept {
  return path.size() == kRootLength && path[2] == L'\\';
}

// For what follows the root: no part is empty or ends in what a system may drop.
bool IsPlain(std::wstring_view path) noexcept {
  wchar_t last = L'\\';
  for (const wchar_t c : path) {
    if (c == L'/' || (c == L'\\' && (last == L'\\' || last == L'.' || last == L' '))) return false;
    last = c;
  }
  return last != L'\\' && last != L'.' && last != L' ';
}

bool IsPlainBelowRoot(std::wstring_view path) noexcept {
  return path.size() > kRootLength && path[2] == L'\\' && IsPlain(path.substr(kRootLength));
}

std::wstring Join(std::wstring root, std::wstring_view rest) {
  if (!root.ends_with(L'\\')) root += L'\\';
  return root += rest;
}

}  // namespace

DWORD WINAPI QueryUniversalName(const wchar_t* path, DWORD level, void* buffer, DWORD* size) {
  return network::WNetGetUniversalNameW(path, level, buffer, size);
}

std::wstring UniversalNames::Of(const std::wstring& path) {
  if (IsUncPath(path)) return path;
  if (const Drive* const drive = DriveOf(path)) {
    if (!drive->universalRoot) return path;
    if (IsRoot(path)) return *drive->universalRoot;
    if (IsPlainBelowRoot(path)) {
      std::wstring name = Join(*drive->universalRoot, std::wstring_view(path).substr(kRootLength));
      if (name.size() <= kLongestName) return name;
    }
  }
  return Ask(path).value_or(path);
}

// Null for a path that begins with no drive.
const UniversalNames::Drive* UniversalNames::DriveOf(const std::wstring& path) {
  if (path.size() < 2 || path[1] != L':') return nullptr;
  const auto letter = static_cast<wchar_t>(path[0] | 0x20);
  if (letter < L'a' || letter > L'z') return nullptr;
  Drive& drive = drives_[static_cast<size_t>(letter - L'a')];
  if (!drive.isKnown) drive = {true, RootOf(path.substr(0, 2))};
  return &drive;
}

// A drive that is not there, or of which the system does not know the kind, may be one
// that the network knows.
std::optional<std::wstring> UniversalNames::RootOf(const std::wstring& drive) {
  const std::wstring root = drive + L'\\';
  if (IsLocal(calls_.driveType(root.c_str()))) return std::nullopt;
  return Ask(root);
}

std::optional<std::wstring> UniversalNames::Ask(const std::wstring& path) {
  if (buffer_ == nullptr) buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  DWORD size = kBufferSize;
  const DWORD result = calls_.universalName(path.c_str(), UNIVERSAL_NAME_INFO_LEVEL, buffer_.get(), &size);
  if (result != NO_ERROR || size == 0) return std::nullopt;
  return reinterpret_cast<const UNIVERSAL_NAME_INFOW*>(buffer_.get())->lpUniversalName;
}

}  // namespace veskard
