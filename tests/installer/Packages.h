// The installation packages that the build makes, and the system's installer.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/ToolRun.h"

namespace veskard::test {

std::wstring OlderPackage();     // 2.7.1
std::wstring ShippedPackage();   // 2.7.2
std::wstring RefusingPackage();  // 2.7.3, whose library refuses to be registered

/// The built library of the older package.
std::wstring OlderLibrary();

/// Where a version's files are installed.
std::wstring VersionFolder(const std::wstring& version);

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
