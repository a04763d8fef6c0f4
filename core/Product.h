// The product's names and version: the place that the code reads them from. The
// version also stands in the library's version resource and in the build's scripts.
#pragma once

namespace veskard {

inline constexpr int kVersionMajor = 2;
inline constexpr int kVersionMinor = 7;
inline constexpr int kVersionPatch = 2;

/// The agent's full and short name, as users read them and as they stand in
/// folder names, registry keys and file types.
inline constexpr wchar_t kAgentName[] = L"Nimbrel Veskard Agent";
inline constexpr wchar_t kAgentShortName[] = L"Veskard Agent";

/// What the names of placeholder files end in.
inline constexpr wchar_t kPlaceholderExtension[] = L".ghpl";

}  // namespace veskard
