// The product's names and version, the only place where the code reads them.
#pragma once

#include "core/Version.h"

namespace veskard {

/// The agent's full and short name, as users read them and as they stand in
/// folder names, registry keys and file types.
inline constexpr wchar_t kAgentName[] = L"Nimbrel Veskard Agent";
inline constexpr wchar_t kAgentShortName[] = L"Veskard Agent";

/// The extension of placeholder files.
inline constexpr wchar_t kPlaceholderExtension[] = L".ghpl";

}  // namespace veskard
