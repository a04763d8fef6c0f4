// The installation packages that the build makes, and the system's installer.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "core/Product.h"
#include "tests/support/ToolRun.h"

namespace veskard::test {

inline constexpr wchar_t kOlderVersion[] = L"2.7.1";

std::wstring OlderPackage();
std::wstring ShippedPackage();   // kVersionText
std::wstring RefusingPackage();  // a newer one, whose library refuses to be registered

/// Where a version's files are installed.
std::wstring VersionFolder(const std::wstring& version);
inline std::wstring LibraryOf(const std::wstring& version) {
  return VersionFolder(version) + L"\\VeskardShellExt.dll";
}
inline std::wstring LibraryFor32BitsOf(const std::wstring& version) {
  return VersionFolder(version) + L"\\x86\\VeskardShellExt.dll";
}

/// Whether this system runs 32-bit programs too.
bool HasHalfOf32Bits();

/// Installs with a log, and answers that.
std::string InstallForLog(const std::wstring& package, std::vector<std::wstring> more = {});

/// msiexec SWITCHES... /qn, as a deployment tool runs it.
ToolResult RunInstallerForResult(std::vector<std::wstring> switches);

/// The same, for its exit code.
DWORD RunInstaller(std::vector<std::wstring> switches);

inline DWORD Install(const std::wstring& package) {
  return RunInstaller({L"/i", package});
}

/// The product codes of every installed version.
std::vector<std::wstring> InstalledProducts();

/// Removes every installed version; answers the first exit code other than 0.
DWORD RemoveProducts();

}  // namespace veskard::test
