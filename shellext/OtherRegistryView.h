// The registry as programs of the other bitness see it.
#pragma once

#include <string>

namespace veskard {

/// Whether the registry's other view, the 32-bit one for a 64-bit process and the
/// reverse, has its own key at `path` below HKEY_LOCAL_MACHINE, independent of this
/// process's view. False where both views show the same key: where they share it,
/// and on 32-bit Windows, which ignores the request for a view; and where the system
/// refuses to answer.
bool HasKeyInOtherView(const std::wstring& path) noexcept;

}  // namespace veskard
