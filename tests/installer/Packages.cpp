#include "tests/installer/Packages.h"

#include <gtest/gtest.h>
#include <msi.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "tests/support/ScratchFolder.h"

namespace veskard::test {
namespace {

constexpr wchar_t kUpgradeCode[] = L"{7BA104CB-0C92-4640-B881-80CEB60898B6}";
constexpr size_t kProductCodeSize = sizeof("{00000000-0000-0000-0000-000000000000}");

/// The build says where a package lies, with slashes.
std::wstring BuiltPackage(const std::wstring& place) {
  return BuiltProgram(std::filesystem::path(place).make_preferred().wstring());
}

}  // namespace

std::wstring OlderPackage() {
  return BuiltPackage(OLDER_PACKAGE);
}

std::wstring ShippedPackage() {
  return BuiltPackage(SHIPPED_PACKAGE);
}

std::wstring RefusingPackage() {
  return BuiltPackage(REFUSING_PACKAGE);
}

std::wstring VersionFolder(const std::wstring& version) {
  return L"C:\\Program Files\\Nimbrel Veskard Agent Explorer Extension\\" + version;
}

bool HasHalfOf32Bits() {
  wchar_t folder[MAX_PATH] = {};
  ::GetSystemWow64DirectoryW(folder, MAX_PATH);
  return folder[0] != L'\0' && std::filesystem::exists(std::filesystem::path(folder) / L"regsvr32.exe");
}

std::string InstallForLog(const std::wstring& package, std::vector<std::wstring> more) {
  const ScratchFolder folder;
  const std::wstring log = folder / L"install.log";
  more.insert(more.begin(), {L"/i", package, L"/l*v", log});
  EXPECT_EQ(RunInstaller(std::move(more)), 0u);
  std::ifstream file{std::filesystem::path(log)};
  return {std::istreambuf_iterator<char>(file), {}};
}

ToolResult RunInstallerForResult(std::vector<std::wstring> switches) {
  switches.push_back(L"/qn");
  return RunProgram(SystemProgram(L"msiexec.exe"), switches);
}

DWORD RunInstaller(std::vector<std::wstring> switches) {
  return RunInstallerForResult(std::move(switches)).exitCode;
}

std::vector<std::wstring> InstalledProducts() {
  std::vector<std::wstring> codes;
  wchar_t code[kProductCodeSize] = {};
  for (DWORD index = 0; ::MsiEnumRelatedProductsW(kUpgradeCode, 0, index, code) == ERROR_SUCCESS; ++index) {
    codes.push_back(code);
  }
  return codes;
}

DWORD RemoveProducts() {
  DWORD result = ERROR_SUCCESS;
  for (const std::wstring& code : InstalledProducts()) {
    const DWORD one = RunInstaller({L"/x", code});
    if (result == ERROR_SUCCESS) result = one;
  }
  return result;
}

}  // namespace veskard::test
