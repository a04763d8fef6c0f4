// QuietActivation: whether a registered class can be activated, without a trace.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace veskard {

/// Activates a class through the registry and COM, as the Shell does, and lets the
/// object go. The library opens its diagnostic log in a process when its first
/// class is asked for, and its first handler tries a translator's check file and
/// reports on it; here it is told that the user has no folder for a log and that
/// there is no such file, so nothing is written. None when that cannot be arranged:
/// the class names no library that loads, or one that does not look for folder and
/// files as ours does. COM must be there. Throws std::bad_alloc only.
std::optional<HRESULT> ActivateQuietly(const std::wstring& classId);

}  // namespace veskard
