// What every test of the installation package stands on: a machine that it
// leaves without the extension, and a look at what is registered.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/installer/MachineState.h"
#include "tests/installer/Packages.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/support/ToolRun.h"

namespace veskard::test {

inline constexpr wchar_t kBinding[] = L"Software\\Classes\\.ghpl";
inline constexpr wchar_t kFileType[] = L"Software\\Classes\\Nimbrel Veskard Agent";

inline constexpr wchar_t kOlderIconClass[] = L"{8AF59406-CC05-0002-0701-AE6472CC92B2}";

/// Whatever a test installs or registers goes with it.
class InstallerFixture : public testing::Test {
 protected:
  InstallerFixture();
  ~InstallerFixture() override;

  /// The machine without the extension: every test begins with it.
  static const MachineState& Clean();

  /// What a first installation of the shipped package adds to it.
  static const std::vector<std::wstring>& AddedByShippedPackage();

  /// The class identifier that the file type names as its icon handler, "none" without one.
  static std::wstring IconHandler();

  /// The library that a class identifier names, "none" without one.
  static std::wstring ServerOf(const std::wstring& classId);

  /// The same for 32-bit programs.
  static std::wstring ServerFor32Bits(const std::wstring& classId);

  static void ExpectSame(const MachineState& before, const MachineState& after);

  /// Asks the registered extension for a placeholder's icon in a new process.
  static ToolResult ProbeIcon(const std::wstring& probe);
  static ToolResult ProbeIconOfVersion(const std::wstring& version);
};

}  // namespace veskard::test
