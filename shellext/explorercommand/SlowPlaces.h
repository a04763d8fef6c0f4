// SlowPlaces: places where reading a file may take long.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace veskard {

/// Returns the kind of a drive; a test replaces it.
using DriveTypeCall = UINT(WINAPI*)(const wchar_t* root);

/// Whether any of the paths may lie on another machine. Decided by the texts of the paths and
/// the kinds of the drives, each of which is asked for once; no path is opened:
///
///     C:\...                \\?\C:\...           by the drive's kind; slow: network, unknown
///     \\server\...          \\?\UNC\server\...   slow: a share
///     \\?\Volume{...}\...                        not slow: a local volume
///     other texts below \\?\ and \\.\            slow: may name another machine
///     all other texts                            not slow: they name no place
///
/// Links and mount points that lead to another machine are not detected.
bool AnyIsSlow(const std::vector<std::wstring>& paths, DriveTypeCall driveType = &::GetDriveTypeW);

}  // namespace veskard
