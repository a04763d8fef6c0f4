#include "tests/installer/MachineState.h"

#include <algorithm>

#include "core/WindowsOwners.h"
namespace veskard::test {
namespace {

constexpr const wchar_t* kEngineKeys[] = {
    L"HKLM\\Software\\Classes\\Installer",
    L"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer",
};
constexpr wchar_t kUninstallKey[] = L"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr wchar_t kEngineFolder[] = L"C:\\windows\\Installer";

bool IsBelow(const std::wstring& place, const std::wstring& parent) {
  return place.starts_with(parent + L"\\") || place.starts_with(parent + L"|");
}

bool IsEngineKey(const std::wstring& place) {
  return std::ranges::any_of(kEngineKeys, [&](const std::wstring& key) { return IsBelow(place, key); });
}

bool HasEntries(const RegistrySnapshot& registry, const std::wstring& key) {
  const auto startsWith = [&](const std::wstring& start) {
    const auto next = registry.lower_bound(start);
    return next != registry.end() && next->first.starts_with(start);
  };
  return startsWith(key + L"\\") || startsWith(key + L"|");
}

/// Backwards, so that children go before their parents.
void DropEmptyEngineKeys(RegistrySnapshot& registry) {
  for (auto entry = registry.end(); entry != registry.begin();) {
    --entry;
    const bool isKey = entry->first.find(L'|') == std::wstring::npos;
    if (isKey && IsEngineKey(entry->first) && !HasEntries(registry, entry->first)) {
      entry = registry.erase(entry);
    }
  }
}

void AddRegistry(RegistrySnapshot& all, const std::wstring& rootName, HKEY root, const wchar_t* path) {
  for (auto& [place, value] : TakeRegistrySnapshot(root, path)) all[rootName + L"\\" + place] = value;
}

// The 32-bit view of Software\Classes has two names: it is taken by the other one.
void DropSecondName(RegistrySnapshot& registry) {
  const std::wstring key = L"HKLM\\Software\\Wow6432Node\\Classes";
  std::erase_if(registry, [&](const auto& entry) { return entry.first == key || IsBelow(entry.first, key); });
}

bool IsLeftOut(const std::wstring& path, const std::wstring& name) {
  // The users' folders hold links to the build machine's own.
  return path == L"C:\\users" || path == kEngineFolder || name == L"Temp" || name == L"temp";
}

// The listing brings every size with it; asking for each file would take far longer.
void AddFiles(std::map<std::wstring, uint64_t>& files, const std::wstring& folder) {
  WIN32_FIND_DATAW entry = {};
  const UniqueFind find(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
  if (!find) return;
  do {
    const std::wstring name = entry.cFileName;
    const std::wstring path = folder + L"\\" + name;
    if (name == L"." || name == L".." || IsLeftOut(path, name)) continue;
    files[path] = uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) AddFiles(files, path);
  } while (::FindNextFileW(find.Get(), &entry));
}

}  // namespace

MachineState TakeMachineState() {
  MachineState state;
  AddRegistry(state.registry, L"HKLM", HKEY_LOCAL_MACHINE, L"Software");
  AddRegistry(state.registry, L"HKLM", HKEY_LOCAL_MACHINE,
              L"System\\CurrentControlSet\\Control\\Session Manager");
  AddRegistry(state.registry, L"HKCU", HKEY_CURRENT_USER, L"Software");
  DropSecondName(state.registry);
  DropEmptyEngineKeys(state.registry);
  AddFiles(state.files, L"C:");
  return state;
}

std::vector<std::wstring> Added(const MachineState& before, const MachineState& after) {
  std::vector<std::wstring> added;
  for (const auto& [place, value] : after.registry) {
    const auto old = before.registry.find(place);
    if (old == before.registry.end() || old->second != value) added.push_back(place + L" = " + value);
  }
  for (const auto& [path, size] : after.files) {
    const auto old = before.files.find(path);
    if (old == before.files.end() || old->second != size) added.push_back(path);
  }
  return added;
}

std::vector<std::wstring> AddedByPackage(const MachineState& before, const MachineState& after) {
  std::vector<std::wstring> added = Added(before, after);
  std::erase_if(added, [](const std::wstring& line) {
    const bool isKey = line.starts_with(L"HK") && line.find(L'|') == std::wstring::npos;
    return isKey || IsEngineKey(line) || IsBelow(line, kUninstallKey);
  });
  return added;
}

}  // namespace veskard::test
