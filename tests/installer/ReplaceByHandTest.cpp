// The way without the package: a fresh copy that ends in "_new.dll" is
// registered under its final name and takes the older file's place, while a
// process has the older file loaded.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/installer/HostProcess.h"
#include "tests/installer/InstallerFixture.h"
#include "tests/installer/Packages.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/ScratchFolder.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard::test {
namespace {

class ReplaceByHandTest : public InstallerFixture {
 protected:
  ReplaceByHandTest() {
    std::filesystem::copy_file(OlderLibraryPath(), final_);
    std::filesystem::copy_file(ExtensionLibraryPath(), fresh_);
    EXPECT_EQ(Register(final_), 0u);
    EXPECT_EQ(host_.Activate(kOlderIconClass), "0x00000000 " + ToUtf8(final_));
  }
  ~ReplaceByHandTest() override {
    Unregister(ExtensionLibraryPath());
    Unregister(OlderLibraryPath());
  }

  static DWORD Register(const std::wstring& library) {
    return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/n", L"/i:S", library}).exitCode;
  }
  static DWORD Unregister(const std::wstring& library) {
    return RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/u", L"/n", L"/i:S", library}).exitCode;
  }

  /// The steps of the administrators' document.
  void Replace() {
    ASSERT_EQ(Unregister(final_), 0u);
    ASSERT_EQ(Register(fresh_), 0u);
    ASSERT_TRUE(::MoveFileW(final_.c_str(), aside_.c_str())) << ::GetLastError();
    ASSERT_TRUE(::MoveFileW(fresh_.c_str(), final_.c_str())) << ::GetLastError();
  }

  static DWORD ProbeExitCode() { return ProbeIcon(BuiltProgram(L"shellprobe.exe")).exitCode; }

  ScratchFolder folder_;
  std::wstring final_ = folder_ / L"VeskardShellExt.dll";
  std::wstring fresh_ = folder_ / L"VeskardShellExt_new.dll";
  std::wstring aside_ = folder_ / L"VeskardShellExt_old.dll";
  HostProcess host_;
};

TEST_F(ReplaceByHandTest, ALoadedLibraryCanBeRenamedButNotOverwritten) {
  EXPECT_FALSE(::CopyFileW(fresh_.c_str(), final_.c_str(), FALSE));
  EXPECT_FALSE(::DeleteFileW(final_.c_str()));
  EXPECT_TRUE(::MoveFileW(final_.c_str(), aside_.c_str()));
}

TEST_F(ReplaceByHandTest, NewProcessesGetTheNewLibrary) {
  Replace();
  EXPECT_EQ(IconHandler(), kIconId);
  EXPECT_EQ(ServerOf(kIconId), final_);
  EXPECT_EQ(ProbeExitCode(), 0u);
}

// Why the package gives each version a folder of its own.
TEST_F(ReplaceByHandTest, AProcessThatHasTheOlderFileLoadedNeedsARestart) {
  Replace();
  EXPECT_EQ(host_.Activate(kIconId), HexCode(CLASS_E_CLASSNOTAVAILABLE));
  EXPECT_EQ(host_.Ask(), "0x00000000");
}

}  // namespace
}  // namespace veskard::test
