// UniversalNames: the UNC forms of the paths of one selection.
#pragma once

#include <windows.h>
// The networks' header needs the basic types first.
#include <winnetwk.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace veskard {

/// `WNetGetUniversalNameW` of the network's library, which is loaded for the first call.
DWORD WINAPI QueryUniversalName(const wchar_t* path, DWORD level, void* buffer, DWORD* size);

/// The system's functions; a test replaces them.
struct NetworkCalls {
  UINT(WINAPI* driveType)(const wchar_t* root) = &::GetDriveTypeW;
  DWORD(WINAPI* universalName)
  (const wchar_t* path, DWORD level, void* buffer, DWORD* size) = &QueryUniversalName;
};

/// Gives each path the name that `WNetGetUniversalNameW` gives for it, and asks the
/// system about each drive once only:
///
///     path                                   UNC form
///     on a local drive                       none; the drive's type says so
///     X:\ on another drive                   the system's answer
///     X:\a\b there                           that answer, and a\b
///     the same, odd or very long             the system's answer for that path
///     \\server\share\a                       none: it is one
///     all else: \\?\X:\a, a\b, the empty     the system's answer for that path
///
/// Odd is a path with slashes, with an empty part, or with a part that ends in a dot or
/// a blank, which the system might not take literally; very long is one whose UNC form
/// does not fit the buffer that the system gets, 65544 bytes. For one batch, so that a
/// drive that is connected or disconnected later is seen by the next.
class UniversalNames {
 public:
  explicit UniversalNames(const NetworkCalls& calls = {}) noexcept : calls_(calls) {}

  /// The UNC form; the path unchanged where it has none, where the system fails and
  /// where it reports a size of zero. Throws std::bad_alloc only.
  std::wstring Of(const std::wstring& path);

 private:
  struct Drive {
    bool isKnown = false;
    std::optional<std::wstring> universalRoot;
  };

  const Drive* DriveOf(const std::wstring& path);
  std::optional<std::wstring> RootOf(const std::wstring& drive);
  std::optional<std::wstring> Ask(const std::wstring& path);

  NetworkCalls calls_;
  std::array<Drive, 26> drives_;
  std::unique_ptr<std::byte[]> buffer_;
};

}  // namespace veskard
