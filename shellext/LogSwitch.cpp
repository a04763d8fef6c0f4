#include "shellext/LogSwitch.h"

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

constexpr wchar_t kKey[] = L"Software\\Nimbrel\\Sync";
constexpr wchar_t kValue[] = L"ShellExtLog";
constexpr bool kOnByDefault = true;

}  // namespace

bool ReadLogSwitch() noexcept {
  UniqueRegKey key;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ | KEY_WOW64_64KEY, key.Out()) != ERROR_SUCCESS)
    return kOnByDefault;
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LSTATUS status =
      ::RegQueryValueExW(key.Get(), kValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  if (status != ERROR_SUCCESS || type != REG_DWORD || size != sizeof(value)) return kOnByDefault;
  return value != 0;
}

}  // namespace veskard
