#include "tests/installer/InstallerFixture.h"

#include <windows.h>

#include <filesystem>
#include <fstream>

#include "core/WindowsOwners.h"
#include "tests/installer/Packages.h"
#include "tests/installer/ShellStandIn.h"
#include "tests/support/ScratchFolder.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard::test {
namespace {

// Every Windows has these from the start, a fresh Wine prefix has not. Who registers
// a handler makes them on the way, and nobody takes them away again.
constexpr const wchar_t* kKeysOfWindows[] = {
    L"Software\\Classes\\*\\shellex\\ContextMenuHandlers",
    L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers",
    L"Software\\Classes\\Directory\\shellex\\ContextMenuHandlers",
    L"Software\\Classes\\Installer",
};

MachineState TakeStateOfWindows() {
  const ShellStandIn shell;  // it stays where PowerShell was
  for (const wchar_t* path : kKeysOfWindows) {
    UniqueRegKey key;
    EXPECT_EQ(
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_WRITE, nullptr, key.Out(), nullptr),
        ERROR_SUCCESS);
  }
  return TakeMachineState();
}

}  // namespace

InstallerFixture::InstallerFixture() {
  Clean();
}

InstallerFixture::~InstallerFixture() {
  RemoveProducts();
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kFileType);
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kBinding);
}

const MachineState& InstallerFixture::Clean() {
  static const MachineState clean = TakeStateOfWindows();
  return clean;
}

const std::vector<std::wstring>& InstallerFixture::AddedByShippedPackage() {
  static const std::vector<std::wstring> added = [] {
    const MachineState& before = Clean();
    EXPECT_EQ(Install(ShippedPackage()), 0u);
    const MachineState after = TakeMachineState();
    EXPECT_EQ(RemoveProducts(), 0u);
    return AddedByPackage(before, after);
  }();
  return added;
}

std::wstring InstallerFixture::IconHandler() {
  return ReadMachineText(std::wstring(kFileType) + L"\\shellex\\IconHandler").value_or(L"none");
}

std::wstring InstallerFixture::ServerOf(const std::wstring& classId) {
  return ReadMachineText(kClasses + L"CLSID\\" + classId + L"\\InprocServer32").value_or(L"none");
}

std::wstring InstallerFixture::ServerFor32Bits(const std::wstring& classId) {
  wchar_t server[MAX_PATH] = {};
  DWORD size = sizeof server;
  const std::wstring key = kClasses + L"CLSID\\" + classId + L"\\InprocServer32";
  UniqueRegKey opened;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ | KEY_WOW64_32KEY, opened.Out()) !=
          ERROR_SUCCESS ||
      ::RegGetValueW(opened.Get(), nullptr, nullptr, RRF_RT_REG_SZ, nullptr, server, &size) != ERROR_SUCCESS)
    return L"none";
  return server;
}

void InstallerFixture::ExpectSame(const MachineState& before, const MachineState& after) {
  EXPECT_THAT(Added(before, after), testing::IsEmpty());
  EXPECT_THAT(Added(after, before), testing::IsEmpty()) << "is gone";
}

ToolResult InstallerFixture::ProbeIcon(const std::wstring& probe) {
  const ScratchFolder folder;
  const std::wstring file = folder / L"a.txt.ghpl";
  std::ofstream(std::filesystem::path(file)).close();
  return RunProgram(probe, {L"icon", file});
}

ToolResult InstallerFixture::ProbeIconOfVersion(const std::wstring& version) {
  return ProbeIcon(VersionFolder(version) + L"\\shellprobe.exe");
}

}  // namespace veskard::test
