// UniversalName: asking the network for the UNC form of a path.
#pragma once

#include <string>

namespace veskard {

/// The UNC form of a path on a mapped network drive; any other path unchanged, and
/// one for which the system fails or reports a size of zero. Throws std::bad_alloc only.
std::wstring ToUniversalName(const std::wstring& path);

}  // namespace veskard
