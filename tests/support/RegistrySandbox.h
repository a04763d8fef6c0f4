// RegistrySandbox: private HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER for this
// process, so that a test neither sees nor changes the machine's own settings.
#pragma once

#include <windows.h>

#include <string>

#include "core/WindowsOwners.h"

namespace veskard::test {

/// During its lifetime both predefined keys of this process are two empty keys of its own,
/// which it removes at the end. One at a time.
class RegistrySandbox {
 public:
  /// A new sandbox.
  RegistrySandbox();
  /// Enters the sandbox of another process, by its Name().
  explicit RegistrySandbox(const std::wstring& name);
  ~RegistrySandbox();
  RegistrySandbox(const RegistrySandbox&) = delete;
  RegistrySandbox& operator=(const RegistrySandbox&) = delete;

  const std::wstring& Name() const noexcept { return name_; }

  /// The user's application-data folder from now on.
  void SetApplicationData(const std::wstring& folder) const;

 private:
  void Enter();

  std::wstring name_;
  bool owner_;
  UniqueRegKey base_;
  UniqueRegKey localMachine_;
  UniqueRegKey currentUser_;
};

/// Writes one value below a root, making its key; as the 64-bit view has it.
void WriteRegistryDword(HKEY root, const std::wstring& key, const std::wstring& value, DWORD data);
void WriteRegistryText(HKEY root, const std::wstring& key, const std::wstring& value,
                       const std::wstring& data);
void DeleteRegistryValue(HKEY root, const std::wstring& key, const std::wstring& value);

/// The machine's log switch: 0 is off, any other number on.
inline constexpr wchar_t kLogSwitchKey[] = L"Software\\Nimbrel\\Sync";
inline constexpr wchar_t kLogSwitchValue[] = L"ShellExtLog";
void SetLogSwitch(DWORD on);

}  // namespace veskard::test
