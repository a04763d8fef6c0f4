#include "fs/util/AccountAliases.h"

#include <algorithm>

namespace veskard {
namespace {

constexpr int kFieldsBeforeAccount = 5;

// What follows so many semicolons; null where there are fewer.
const wchar_t* SkipFields(const wchar_t* at, const wchar_t* end, int fields) noexcept {
  for (; fields > 0; --fields) {
    at = std::find(at, end, L';');
    if (at == end) return nullptr;
    ++at;
  }
  return at;
}

bool IsCapital(wchar_t letter) noexcept {
  return letter >= L'A' && letter <= L'Z';
}

bool EndsField(wchar_t letter) noexcept {
  return letter == L';' || letter == L')';
}

}  // namespace

std::vector<std::wstring_view> AccountAliases(std::wstring_view accessList) {
  std::vector<std::wstring_view> aliases;
  const wchar_t* const end = accessList.data() + accessList.size();
  const wchar_t* at = accessList.data();
  while ((at = std::find(at, end, L'(')) != end) {
    ++at;
    const wchar_t* const account = SkipFields(at, end, kFieldsBeforeAccount);
    if (account == nullptr) break;  // nor is there one further on
    const wchar_t* const close = std::find_if_not(account, end, IsCapital);
    if (close == end || !EndsField(*close)) continue;
    aliases.emplace_back(account, static_cast<size_t>(close - account));
    at = close + 1;
  }
  return aliases;
}

}  // namespace veskard
