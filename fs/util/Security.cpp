#include "fs/util/Security.h"

// The access-list functions stand behind this header's macros.
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <vector>

#include "core/WindowsOwners.h"
#include "fs/util/AccountAliases.h"

namespace veskard {
namespace {

constexpr size_t kPartPrefixLength = 2;  // "O:" or "G:"

using SecurityDescriptor = UniqueLocalMemory;

template <class T>
T** OutAs(UniqueLocalMemory& memory) noexcept {
  return reinterpret_cast<T**>(memory.Out());
}

// The full SID of an account given by its alias; the account itself when the system does
// not know it.
std::wstring FullSid(const std::wstring& account) {
  UniqueLocalMemory sid;
  UniqueLocalMemory text;
  if (account.empty()) return account;  // not every system refuses it
  if (!::ConvertStringSidToSidW(account.c_str(), OutAs<void>(sid))) return account;
  if (!::ConvertSidToStringSidW(sid.Get(), OutAs<wchar_t>(text))) return account;
  return static_cast<const wchar_t*>(text.Get());
}

SecurityDescriptor ParseDescriptor(const std::wstring& text) noexcept {
  SecurityDescriptor descriptor;
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                              OutAs<void>(descriptor), nullptr)) {
    return SecurityDescriptor();
  }
  return descriptor;
}

// 0 with the part's SDDL in `text`, or the error.
uint32_t PrintDescriptor(const SecurityDescriptor& descriptor, SECURITY_INFORMATION part,
                         std::wstring& text) {
  UniqueLocalMemory printed;
  if (!::ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor.Get(), SDDL_REVISION_1, part,
                                                              OutAs<wchar_t>(printed), nullptr)) {
    return ::GetLastError();
  }
  text = static_cast<const wchar_t*>(printed.Get());
  return 0;
}

ACE_HEADER* EntryAt(ACL* list, DWORD index) noexcept {
  void* entry = nullptr;
  return ::GetAce(list, index, &entry) ? static_cast<ACE_HEADER*>(entry) : nullptr;
}

bool HasMaskAndSid(const ACE_HEADER& entry) noexcept {
  return entry.AceType == ACCESS_ALLOWED_ACE_TYPE || entry.AceType == ACCESS_DENIED_ACE_TYPE;
}

// For types other than the two plain ones, type and flags alone decide.
bool SameEntry(const ACE_HEADER& a, const ACE_HEADER& b) noexcept {
  if (a.AceType != b.AceType || a.AceFlags != b.AceFlags) return false;
  if (!HasMaskAndSid(a)) return true;
  // An access-denied entry has the same layout.
  auto& first = reinterpret_cast<const ACCESS_ALLOWED_ACE&>(a);
  auto& second = reinterpret_cast<const ACCESS_ALLOWED_ACE&>(b);
  return first.Mask == second.Mask &&
         ::EqualSid(const_cast<DWORD*>(&first.SidStart), const_cast<DWORD*>(&second.SidStart));
}

// Copies, since deleting an entry moves those behind it.
class ExplicitEntries {
 public:
  explicit ExplicitEntries(ACL* list) {
    for (DWORD index = 0; index < list->AceCount; ++index) {
      const ACE_HEADER* entry = EntryAt(list, index);
      if (entry != nullptr && (entry->AceFlags & INHERITED_ACE) == 0) Keep(*entry);
    }
  }

  bool Contains(const ACE_HEADER& entry) const noexcept {
    return std::any_of(entries_.begin(), entries_.end(), [&entry](const std::vector<char>& bytes) {
      return SameEntry(reinterpret_cast<const ACE_HEADER&>(bytes.front()), entry);
    });
  }

 private:
  void Keep(const ACE_HEADER& entry) {
    const auto bytes = reinterpret_cast<const char*>(&entry);
    entries_.emplace_back(bytes, bytes + entry.AceSize);
  }

  std::vector<std::vector<char>> entries_;
};

void DropInheritedDuplicates(ACL* list) {
  const ExplicitEntries explicitEntries(list);
  // The index advances after a deletion too, deliberately: the entry that took the
  // deleted one's place stays unchanged.
  for (DWORD index = 0; index < list->AceCount; ++index) {
    ACE_HEADER* entry = EntryAt(list, index);
    if (entry == nullptr || (entry->AceFlags & INHERITED_ACE) == 0) continue;
    entry->AceFlags &= static_cast<BYTE>(~INHERITED_ACE);
    if (explicitEntries.Contains(*entry)) ::DeleteAce(list, index);
  }
}

// Null for a list that is missing, defaulted or null.
ACL* OwnAccessList(const SecurityDescriptor& descriptor) noexcept {
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  ACL* list = nullptr;
  if (!::GetSecurityDescriptorDacl(descriptor.Get(), &present, &list, &defaulted)) return nullptr;
  return present && !defaulted ? list : nullptr;
}

// A descriptor without an owner or group is an empty text, and stays empty.
uint32_t PrintOwner(const SecurityDescriptor& descriptor, SECURITY_INFORMATION part, std::wstring& text) {
  std::wstring printed;
  const uint32_t error = PrintDescriptor(descriptor, part, printed);
  if (error == 0 && printed.size() >= kPartPrefixLength) text = ExpandOwnerAlias(printed);
  return error;
}

}  // namespace

uint32_t ReadSecurityStrings(const std::wstring& path, SecurityStrings& strings) {
  constexpr SECURITY_INFORMATION kParts =
      OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  SecurityDescriptor descriptor;
  uint32_t error = ::GetNamedSecurityInfoW(const_cast<wchar_t*>(path.c_str()), SE_FILE_OBJECT, kParts,
                                           nullptr, nullptr, nullptr, nullptr, OutAs<void>(descriptor));
  if (error != 0) return error;
  strings = {};
  error = PrintDescriptor(descriptor, DACL_SECURITY_INFORMATION, strings.accessList);
  if (error != 0) return error;
  ExpandAccountAliases(strings.accessList);
  error = PrintOwner(descriptor, OWNER_SECURITY_INFORMATION, strings.owner);
  if (error != 0) return error;
  return PrintOwner(descriptor, GROUP_SECURITY_INFORMATION, strings.group);
}

bool ExpandAccountAliases(std::wstring& accessList) {
  std::wstring expanded = accessList;
  for (const std::wstring_view alias : AccountAliases(accessList)) {
    const size_t place = expanded.find(alias);
    if (place != expanded.npos) expanded.replace(place, alias.size(), FullSid(std::wstring(alias)));
  }
  if (!ParseDescriptor(expanded)) return false;
  accessList = std::move(expanded);
  return true;
}

std::wstring ExpandOwnerAlias(const std::wstring& ownerOrGroup) {
  const std::wstring account = ownerOrGroup.substr(kPartPrefixLength);
  return ownerOrGroup.substr(0, kPartPrefixLength) + FullSid(account);
}

bool StripInheritedDuplicates(std::wstring& accessList) {
  const SecurityDescriptor descriptor = ParseDescriptor(accessList);
  if (!descriptor) return false;
  ACL* const list = OwnAccessList(descriptor);
  if (list == nullptr) return true;
  DropInheritedDuplicates(list);
  if (PrintDescriptor(descriptor, DACL_SECURITY_INFORMATION, accessList) != 0) return false;
  ExpandAccountAliases(accessList);
  return true;
}

}  // namespace veskard
