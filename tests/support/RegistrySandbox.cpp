#include "tests/support/RegistrySandbox.h"

#include <gtest/gtest.h>

namespace veskard::test {
namespace {

constexpr wchar_t kParent[] = L"Software\\Veskard Tests";
constexpr wchar_t kUserShellFolders[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

UniqueRegKey CreateKey(HKEY root, const std::wstring& path) {
  UniqueRegKey key;
  const LSTATUS status = ::RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0,
                                           KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, key.Out(), nullptr);
  EXPECT_EQ(status, ERROR_SUCCESS);
  return key;
}

void WriteValue(HKEY root, const std::wstring& key, const std::wstring& value, DWORD type, const void* data,
                size_t size) {
  const UniqueRegKey opened = CreateKey(root, key);
  EXPECT_EQ(::RegSetValueExW(opened.Get(), value.c_str(), 0, type, static_cast<const BYTE*>(data),
                             static_cast<DWORD>(size)),
            ERROR_SUCCESS);
}

std::wstring NewName() {
  static unsigned number = 0;
  return std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
}

}  // namespace

RegistrySandbox::RegistrySandbox() : name_(NewName()), owner_(true) {
  Enter();
}

RegistrySandbox::RegistrySandbox(const std::wstring& name) : name_(name), owner_(false) {
  Enter();
}

void RegistrySandbox::Enter() {
  base_ = CreateKey(HKEY_CURRENT_USER, kParent);
  if (owner_) ::RegDeleteTreeW(base_.Get(), name_.c_str());  // what a crashed test may have left
  localMachine_ = CreateKey(base_.Get(), name_ + L"\\LocalMachine");
  currentUser_ = CreateKey(base_.Get(), name_ + L"\\CurrentUser");
  EXPECT_EQ(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, localMachine_.Get()), ERROR_SUCCESS);
  EXPECT_EQ(::RegOverridePredefKey(HKEY_CURRENT_USER, currentUser_.Get()), ERROR_SUCCESS);
}

RegistrySandbox::~RegistrySandbox() {
  ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  localMachine_.Reset();
  currentUser_.Reset();
  if (owner_) ::RegDeleteTreeW(base_.Get(), name_.c_str());
}

void RegistrySandbox::SetApplicationData(const std::wstring& folder) const {
  WriteRegistryText(HKEY_CURRENT_USER, kUserShellFolders, L"AppData", folder);
}

void WriteRegistryDword(HKEY root, const std::wstring& key, const std::wstring& value, DWORD data) {
  WriteValue(root, key, value, REG_DWORD, &data, sizeof(data));
}

void WriteRegistryText(HKEY root, const std::wstring& key, const std::wstring& value,
                       const std::wstring& data) {
  WriteValue(root, key, value, REG_SZ, data.c_str(), (data.size() + 1) * sizeof(wchar_t));
}

void DeleteRegistryValue(HKEY root, const std::wstring& key, const std::wstring& value) {
  const UniqueRegKey opened = CreateKey(root, key);
  ::RegDeleteValueW(opened.Get(), value.c_str());
}

void SetLogSwitch(DWORD on) {
  WriteRegistryDword(HKEY_LOCAL_MACHINE, kLogSwitchKey, kLogSwitchValue, on);
}

}  // namespace veskard::test
