#include "shellext/Registration.h"

#include <shlobj.h>

#include <string_view>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "shellext/OtherRegistryView.h"
#include "shellext/module/Log.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr wchar_t kClassKey[] = L"Software\\Classes\\CLSID\\%s";
constexpr wchar_t kServerKey[] = L"Software\\Classes\\CLSID\\%s\\InprocServer32";
constexpr wchar_t kSettingsKey[] = L"Software\\Classes\\CLSID\\%s\\Settings";

constexpr std::wstring_view kFreshCopyEnding = L"_new.dll";
constexpr std::wstring_view kFinalEnding = L".dll";

/// DllInstall sets it from its command line. Both outcomes are the same root,
/// and the rows carry theirs, so no command line changes where keys go.
HKEY registrationRoot = HKEY_LOCAL_MACHINE;

const std::vector<RegistryEntry>& RegistrationTable(const std::wstring& serverPath) {
  Log(L"RegisterServer");
  static const std::vector<RegistryEntry> table = MakeRegistrationTable(MakeRegistrationNames(), serverPath);
  return table;
}

bool Write(const RegistryEntry& row) {
  const std::wstring path =
      row.keyArgument.empty() ? row.keyPath : FormatString(row.keyPath.c_str(), row.keyArgument);
  UniqueRegKey key;
  if (::RegCreateKeyExW(row.root, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, key.Out(), nullptr) !=
      ERROR_SUCCESS)
    return false;
  // A refused value does not stop registration; only a refused key does.
  ::RegSetValueExW(key.Get(), row.valueName.c_str(), 0, row.valueType,
                   reinterpret_cast<const BYTE*>(row.data.c_str()),
                   static_cast<DWORD>((row.data.size() + 1) * sizeof(wchar_t)));
  return true;
}

void TellShell() {
  ::SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}

}  // namespace

RegistrationNames MakeRegistrationNames() {
  const std::wstring handler = FormatString(L"%s Service %s", kAgentName, kVersionText);
  return {
      handler,
      L"Software\\Classes\\*\\shellex\\ContextMenuHandlers\\" + handler,
      L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers\\" + handler,
      L"Software\\Classes\\Directory\\shellex\\ContextMenuHandlers\\" + handler,
      FormatString(L"Software\\Classes\\%s\\shellex\\IconHandler", kAgentName),
      ClassIdText(kContextMenuClass),
      ClassIdText(kFileIconClass),
  };
}

std::wstring ServerPathFor(std::wstring modulePath) {
  if (modulePath.size() > kFreshCopyEnding.size() && modulePath.ends_with(kFreshCopyEnding))
    modulePath.replace(modulePath.size() - kFreshCopyEnding.size(), kFreshCopyEnding.size(), kFinalEnding);
  return modulePath;
}

std::vector<RegistryEntry> MakeRegistrationTable(const RegistrationNames& names,
                                                 const std::wstring& serverPath) {
  const HKEY root = HKEY_LOCAL_MACHINE;
  const std::wstring& menu = names[kContextMenuClassId];
  const std::wstring& icon = names[kFileIconClassId];
  // clang-format off
  return {
      {root, kClassKey,              L"",               REG_SZ, menu, names[kHandlerName]},
      {root, kServerKey,             L"",               REG_SZ, menu, serverPath},
      {root, kServerKey,             L"ThreadingModel", REG_SZ, menu, L"Apartment"},
      {root, names[kAllFilesKey],    L"",               REG_SZ, L"",  menu},
      {root, names[kShortcutKey],    L"",               REG_SZ, L"",  menu},
      {root, names[kFolderKey],      L"",               REG_SZ, L"",  menu},
      {root, kClassKey,              L"",               REG_SZ, icon, names[kHandlerName]},
      {root, kServerKey,             L"",               REG_SZ, icon, serverPath},
      {root, kServerKey,             L"ThreadingModel", REG_SZ, icon, L"Apartment"},
      {root, names[kIconHandlerKey], L"",               REG_SZ, L"",  icon},
      {nullptr, L"",                 L"",               0,      L"",  L""},
  };
  // clang-format on
}

bool Register() {
  const std::wstring serverPath = ServerPathFor(ReadModulePath(ModuleHandle()));
  if (serverPath.empty()) return false;  // the table would keep it for as long as the process
  const std::vector<RegistryEntry>& table = RegistrationTable(serverPath);
  Unregister();  // stale keys of this version go first
  for (const RegistryEntry* row = table.data(); row->root != nullptr; ++row)
    if (!Write(*row)) return false;
  TellShell();
  return true;
}

bool Unregister() {
  const RegistrationNames names = MakeRegistrationNames();
  const std::wstring& menu = names[kContextMenuClassId];
  const std::wstring& icon = names[kFileIconClassId];
  const bool menuStays = HasKeyInOtherView(FormatString(kServerKey, menu));
  const bool iconStays = HasKeyInOtherView(FormatString(kServerKey, icon));
  const struct {
    std::wstring key;
    bool stays;  // shared with the other bitness, which needs it
  } rows[] = {
      // Children before parents: a key with subkeys is not deleted.
      {names[kAllFilesKey], menuStays},
      {names[kShortcutKey], menuStays},
      {names[kFolderKey], menuStays},
      {FormatString(kServerKey, menu), false},
      {FormatString(kSettingsKey, menu), false},
      {FormatString(kClassKey, menu), false},
      {names[kIconHandlerKey], iconStays},
      {FormatString(kServerKey, icon), false},
      {FormatString(kClassKey, icon), false},
  };
  for (const auto& row : rows)
    if (!row.stays) ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, row.key.c_str());
  TellShell();
  return true;
}

HRESULT Install(bool install, const wchar_t* commandLine) {
  const std::wstring scope = commandLine == nullptr ? L"" : commandLine;
  if (scope == L"S") registrationRoot = HKEY_LOCAL_MACHINE;
  const bool done = install ? Register() : Unregister();
  return done ? S_OK : E_FAIL;
}

}  // namespace veskard
