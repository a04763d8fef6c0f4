#include "shellext/OtherRegistryView.h"

#include <windows.h>
#include <winternl.h>

#include <array>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

// The system's answer: the length in bytes, then "\REGISTRY\MACHINE\SOFTWARE\Classes\...",
// the one name that a key has whichever view it was opened in. Too little room is a failure.
using KeyName = std::array<wchar_t, 1024>;

LSTATUS OpenInView(REGSAM view, const std::wstring& path, UniqueRegKey& key) noexcept {
  return ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_QUERY_VALUE | view, key.Out());
}

bool ReadName(const UniqueRegKey& key, KeyName& name) noexcept {
  using QueryKey =
      NTSTATUS(NTAPI*)(HANDLE key, ULONG informationClass, void* answer, ULONG answerSize, ULONG* size);
  constexpr ULONG kKeyNameInformation = 3;
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll");
  const FARPROC address = ntdll == nullptr ? nullptr : ::GetProcAddress(ntdll, "NtQueryKey");
  const auto query = reinterpret_cast<QueryKey>(reinterpret_cast<void*>(address));
  ULONG size = 0;
  return query != nullptr && query(key.Get(), kKeyNameInformation, name.data(), sizeof name, &size) >= 0;
}

bool HaveDifferentNames(const UniqueRegKey& first, const UniqueRegKey& second) noexcept {
  KeyName firstName = {};
  KeyName secondName = {};
  return ReadName(first, firstName) && ReadName(second, secondName) && firstName != secondName;
}

}  // namespace

bool HasKeyInOtherView(const std::wstring& path) noexcept {
  UniqueRegKey other;
  UniqueRegKey own;
  if (OpenInView(kOtherView, path, other) != ERROR_SUCCESS) return false;
  const LSTATUS status = OpenInView(0, path, own);
  if (status == ERROR_FILE_NOT_FOUND) return true;
  return status == ERROR_SUCCESS && HaveDifferentNames(own, other);
}

}  // namespace veskard
