// Deleting a folder with all that is in it.
#pragma once

#include <string>

namespace veskard {

/// Deletes a folder and everything below it, read-only files included. What a
/// link or junction points to is not below it: such an entry is removed and not
/// entered, and a path that is a link itself is removed alone. An empty path, which is what a path text that
/// is not understood leaves, is ERROR_PATH_NOT_FOUND, and nothing is deleted. True when the folder or link
/// itself is gone in the end; otherwise the thread's last error tells why it is not.
bool DeleteTree(const std::wstring& folderPath);

}  // namespace veskard
