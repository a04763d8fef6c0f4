#include "tests/installer/InstallerFixture.h"

#include <windows.h>

#include <filesystem>
#include <fstream>

#include "tests/installer/Packages.h"
#include "tests/support/ScratchFolder.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard::test {

InstallerFixture::InstallerFixture() {
  Clean();
}

InstallerFixture::~InstallerFixture() {
  RemoveProducts();
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kFileType);
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kBinding);
}

const MachineState& InstallerFixture::Clean() {
  static const MachineState clean = TakeMachineState();
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
  return ReadMachineText(kClasses + (L"CLSID\\" + classId) + L"\\InprocServer32").value_or(L"none");
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
