#include "tools/shellprobe/PackageStore.h"

#include <windows.h>

#include <map>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

constexpr wchar_t kUserPackages[] =
    L"Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\CurrentVersion\\AppModel\\Repository\\"
    L"Packages";
constexpr wchar_t kAllUsersPackages[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Appx\\AppxAllUserStore\\Applications";

// Of appmodel.h, which is newer than the oldest Windows that runs this program.
using FindByFamily = LONG(WINAPI*)(const wchar_t* family, UINT32 filters, UINT32* count, wchar_t** fullNames,
                                   UINT32* bufferLength, wchar_t* buffer, UINT32* properties);
using PathByFullName = LONG(WINAPI*)(const wchar_t* fullName, int pathType, UINT32* length, wchar_t* path);
constexpr UINT32 kMainPackages = 0x10;  // PACKAGE_FILTER_HEAD
constexpr int kEffectiveExternal = 5;   // PackagePathType_EffectiveExternal

template <class Function>
Function FindFunction(const char* name) {
  const HMODULE kernel = ::GetModuleHandleW(L"kernel32");
  const FARPROC address = kernel == nullptr ? nullptr : ::GetProcAddress(kernel, name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

using Packages = std::map<std::wstring, KnownPackage>;

// The subkeys that begin with the name and "_".
void AddFromRegistry(HKEY root, const wchar_t* path, const std::wstring& name, bool KnownPackage::*holder,
                     Packages& packages) {
  UniqueRegKey key;
  if (::RegOpenKeyExW(root, path, 0, KEY_READ | KEY_WOW64_64KEY, key.Out()) != ERROR_SUCCESS) return;
  for (DWORD i = 0;; ++i) {
    wchar_t fullName[256] = {};  // the longest name of a key, and a zero
    DWORD length = static_cast<DWORD>(std::size(fullName));
    const LSTATUS status =
        ::RegEnumKeyExW(key.Get(), i, fullName, &length, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return;
    if (std::wstring(fullName).starts_with(name + L"_")) packages[fullName].*holder = true;
  }
}

void AddFromFamily(const std::wstring& family, Packages& packages) {
  const auto find = FindFunction<FindByFamily>("FindPackagesByPackageFamily");
  UINT32 count = 0, length = 0;
  if (find == nullptr || find(family.c_str(), kMainPackages, &count, nullptr, &length, nullptr, nullptr) !=
                             ERROR_INSUFFICIENT_BUFFER)
    return;
  std::vector<wchar_t*> names(count);
  std::vector<wchar_t> buffer(length);
  if (find(family.c_str(), kMainPackages, &count, names.data(), &length, buffer.data(), nullptr) !=
      ERROR_SUCCESS)
    return;
  for (const wchar_t* fullName : names) packages[fullName].forThisUser = true;
}

std::wstring LocationOf(const std::wstring& fullName) {
  const auto find = FindFunction<PathByFullName>("GetPackagePathByFullName2");
  UINT32 length = 0;
  if (find == nullptr ||
      find(fullName.c_str(), kEffectiveExternal, &length, nullptr) != ERROR_INSUFFICIENT_BUFFER)
    return {};
  std::vector<wchar_t> path(length);
  if (find(fullName.c_str(), kEffectiveExternal, &length, path.data()) != ERROR_SUCCESS) return {};
  return path.data();
}

}  // namespace

std::vector<KnownPackage> FindPackages(const std::wstring& name, const std::wstring& publisherId) {
  Packages packages;
  AddFromRegistry(HKEY_CURRENT_USER, kUserPackages, name, &KnownPackage::forThisUser, packages);
  AddFromRegistry(HKEY_LOCAL_MACHINE, kAllUsersPackages, name, &KnownPackage::forAllUsers, packages);
  if (!publisherId.empty()) AddFromFamily(name + L"_" + publisherId, packages);
  std::vector<KnownPackage> found;
  for (auto& [fullName, package] : packages) {
    package.fullName = fullName;
    package.location = LocationOf(fullName);
    found.push_back(std::move(package));
  }
  return found;
}

}  // namespace veskard
