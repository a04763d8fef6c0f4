#include "shellext/explorercommand/SlowPlaces.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "fs/util/PathText.h"

namespace veskard {
namespace {

constexpr bool IsSeparator(wchar_t c) noexcept {
  return c == L'\\' || c == L'/';
}

// Begins with two separators: a share, or one of the system's prefixes.
bool BeginsAbove(std::wstring_view path) noexcept {
  return path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
}

constexpr size_t kPrefixLength = 4;  // \\?\ and \\.\ .

bool HasPrefix(std::wstring_view path) noexcept {
  return BeginsAbove(path) && path.size() >= kPrefixLength && (path[2] == L'?' || path[2] == L'.') &&
         IsSeparator(path[3]);
}

// 0 to 25; none for a path that begins with no drive.
std::optional<size_t> DriveOf(std::wstring_view path) noexcept {
  if (path.size() < 2 || path[1] != L':') return std::nullopt;
  const size_t letter = static_cast<size_t>(path[0] | 0x20) - L'a';
  return letter < 26 ? std::optional(letter) : std::nullopt;
}

bool IsVolume(std::wstring_view path) noexcept {
  constexpr std::wstring_view kVolume = L"Volume{";
  return SamePathText(path.substr(0, kVolume.size()), kVolume);
}

/// The kinds of the drives, each asked for once.
class Drives {
 public:
  explicit Drives(DriveTypeCall driveType) noexcept : driveType_(driveType) {}

  bool IsRemote(size_t drive) {
    if (!remote_[drive]) {
      const wchar_t root[] = {static_cast<wchar_t>(L'A' + drive), L':', L'\\', L'\0'};
      const UINT type = driveType_(root);
      remote_[drive] = type == DRIVE_REMOTE || type == DRIVE_UNKNOWN;
    }
    return *remote_[drive];
  }

 private:
  DriveTypeCall driveType_;
  std::array<std::optional<bool>, 26> remote_;
};

bool IsSlow(std::wstring_view path, Drives& drives) {
  const bool hasPrefix = HasPrefix(path);
  if (hasPrefix) path.remove_prefix(kPrefixLength);
  if (const auto drive = DriveOf(path)) return drives.IsRemote(*drive);
  return hasPrefix ? !IsVolume(path) : BeginsAbove(path);
}

}  // namespace

bool AnyIsSlow(const std::vector<std::wstring>& paths, DriveTypeCall driveType) {
  Drives drives(driveType);
  return std::any_of(paths.begin(), paths.end(),
                     [&](const std::wstring& path) { return IsSlow(path, drives); });
}

}  // namespace veskard
