// The product's names and version: the place that the code reads them from.
#pragma once

#include "core/Version.h"

namespace veskard {

/// The agent's full and short name, as users read them and as they stand in
/// folder names, registry keys and file types.
inline constexpr wchar_t kAgentName[] = L"Nimbrel Veskard Agent";
inline constexpr wchar_t kAgentShortName[] = L"Veskard Agent";

/// What the names of placeholder files end in.
inline constexpr wchar_t kPlaceholderExtension[] = L".ghpl";

}  // namespace veskard
