// Owner, group and access list of a path as canonical SDDL texts.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// The security of one path. Accounts are full SID strings ("S-1-5-32-544"),
/// never two-letter aliases ("BA"), so that two descriptors compare as text.
struct SecurityStrings {
  std::wstring owner;       // "O:" and a SID
  std::wstring group;       // "G:" and a SID
  std::wstring accessList;  // "D:", flags, and one "(type;flags;rights;object;inherited;account)" each
};

/// 0, or a Windows error code. When the system does not give the descriptor,
/// `strings` stay unchanged; when one of the conversions (access list, owner,
/// group, in this order) fails, that string and the later ones are empty.
uint32_t ReadSecurityStrings(const std::wstring& path, SecurityStrings& strings);

/// Replaces each entry's account alias by its full SID. The alias is searched
/// from the front of the whole text, so that it may be found in another field
/// first; then the result is no valid descriptor. False, with the text unchanged,
/// when it is none.
bool ExpandAccountAliases(std::wstring& accessList);

/// The same for the one account of an owner or group part. An account that is no
/// alias comes back as it is. Throws std::out_of_range for fewer than two characters.
std::wstring ExpandOwnerAlias(const std::wstring& ownerOrGroup);

/// Drops inherited entries that repeat an explicit one, makes the other inherited
/// entries explicit, and expands aliases. Of two adjacent repetitions the
/// second stays unchanged, deliberately: the entry that moves into a deleted one's place
/// is not examined. True, with the text unchanged, for a missing, defaulted or null
/// list; false, with the text unchanged, for one that cannot be parsed or
/// converted back.
bool StripInheritedDuplicates(std::wstring& accessList);

}  // namespace veskard
