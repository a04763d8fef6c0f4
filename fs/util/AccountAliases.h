// The two-letter accounts in an access list's SDDL text.
#pragma once

#include <string_view>
#include <vector>

namespace veskard {

/// The captures of the regular expression
///
///     \((?:[^;]*;){5}([A-Z]*)[;\)]
///
/// for all its matches, in order: of each entry "(type;flags;rights;object;inherited;account)"
/// the account, when nothing but capitals stands there. A full SID is no match
/// ("S-1-…": the hyphen), a missing account is an empty one. The views point into
/// `accessList`. Throws only std::bad_alloc.
///
/// The standard library's regular expressions are not used: they need the locales, about
/// 800 KB in each host, more than this whole library, and GCC's implementation recurses
/// for each character of a match.
std::vector<std::wstring_view> AccountAliases(std::wstring_view accessList);

}  // namespace veskard
