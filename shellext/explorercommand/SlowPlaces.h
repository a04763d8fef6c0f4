// SlowPlaces: where looking at a file may take long.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace veskard {

/// Returns the kind of a drive; a test replaces it.
using DriveTypeCall = UINT(WINAPI*)(const wchar_t* root);

/// Whether any of the paths lies on a network drive or a share. By the paths alone and
/// the kinds of the drives, each of which is asked for once; no path is opened:
///
///     C:\...            \\?\C:\...            as the drive's kind says
///     \\server\...     \\?\UNC\server\...    a share
///     \\?\Volume{...}\...                   a local volume
///     all else below \\?\ and \\.\          may be anything: counts as slow
///     all else, which names no place         not slow
///
/// A link or a mount point that leads to another machine is not seen.
bool AnyIsSlow(const std::vector<std::wstring>& paths, DriveTypeCall driveType = &::GetDriveTypeW);

}  // namespace veskard
