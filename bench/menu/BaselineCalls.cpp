#include "bench/menu/BaselineCalls.h"

// DROPFILES needs the rest of the shell's types.
#include <shlobj.h>

#include "core/WindowsOwners.h"

namespace veskard::bench {

void BaselineLogSwitch() {
  UniqueRegKey key;
  ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Nimbrel\\Sync", 0, KEY_READ | KEY_WOW64_64KEY, key.Out());
  DWORD type = 0, value = 0, size = sizeof(value);
  ::RegQueryValueExW(key.Get(), L"ShellExtLog", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
}

void BaselineAgentLookUp() {
  const UniqueHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, L"Global\\pipesynccmd_SIT"));
}

BaselineDropList::BaselineDropList(HDROP drop) : drop_(drop) {
  const auto* const block = static_cast<const char*>(::GlobalLock(drop));
  const auto* const header = reinterpret_cast<const DROPFILES*>(block);
  first_ = reinterpret_cast<const wchar_t*>(block + header->pFiles);
}

}  // namespace veskard::bench
