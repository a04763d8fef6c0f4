// QuietActivation: whether a registered class can be activated, without a trace.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace veskard {

/// Activates a class through the registry and COM, as the Shell does, and releases the
/// object. In a process, the library opens its diagnostic log when its first class is
/// requested, and its first handler reads a translator's check file and writes a report on
/// it. Here its imports answer that the user has no folder for a log and that there is no
/// such file, so nothing is written. None when that is not possible: the class names no
/// library that loads, or one that does not import these functions. COM must be
/// initialised. Throws std::bad_alloc only.
std::optional<HRESULT> ActivateQuietly(const std::wstring& classId);

}  // namespace veskard
