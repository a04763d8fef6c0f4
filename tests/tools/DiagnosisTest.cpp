// What doctor says of the log, in a registry and a folder of the test's own.
#include "tools/shellprobe/Diagnosis.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shlobj.h>

#include <gmock/gmock.h>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/support/Patched.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "tools/common/Utf8.h"

namespace veskard::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class DiagnosisTest : public testing::Test {
 protected:
  DiagnosisTest() { sandbox_.SetApplicationData(folder_.Path()); }

  void MakeAgentFolder() const { ASSERT_TRUE(::CreateDirectoryW(agentFolder_.c_str(), nullptr)); }

  void MakeLog() const {
    ASSERT_TRUE(UniqueFile(::CreateFileW(log_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
  }

  /// Expects one line about the log, and the fact to be bad or not.
  static void ExpectLog(const std::string& line, bool isBad = false) {
    const Report report = DiagnoseInstallation();
    EXPECT_THAT(report.AsText(), HasSubstr((isBad ? "  BAD   " : "  ok    ") + line));
    EXPECT_EQ(report.HasBad(kLogFact), isBad);
  }

  ScratchFolder folder_;
  RegistrySandbox sandbox_;
  const std::wstring agentFolder_ = folder_ / L"Nimbrel Veskard Agent";
  const std::wstring log_ = agentFolder_ + L"\\ShellExtCM.log";
};

TEST_F(DiagnosisTest, ALogThatIsThereIsWritten) {
  MakeAgentFolder();
  MakeLog();
  ExpectLog("it is written to " + ToUtf8(log_) + "\n");
}

TEST_F(DiagnosisTest, ALogThatIsNotThereYetWillBeWritten) {
  MakeAgentFolder();
  ExpectLog("it will be written to " + ToUtf8(log_) + "\n");
  EXPECT_EQ(::GetFileAttributesW(log_.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(DiagnosisTest, AMissingFolderIsTold) {
  ExpectLog("nothing is written: the folder of " + ToUtf8(log_) + " is missing\n", true);
}

TEST_F(DiagnosisTest, ALogThatCannotBeOpenedIsTold) {
  MakeAgentFolder();
  ASSERT_TRUE(::CreateDirectoryW(log_.c_str(), nullptr));
  ExpectLog("nothing is written to " + ToUtf8(log_) + ": ", true);
}

TEST_F(DiagnosisTest, AFolderThatTakesNoNewFileIsTold) {
  MakeAgentFolder();
  // A folder is refused to whoever wants to make a file there.
  const Patched<&::CreateFileW> opening(
      "CreateFileW", [](auto original, LPCWSTR path, DWORD access, DWORD share, auto security, DWORD how,
                        DWORD flags, HANDLE like) {
        const bool isFolder = (flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
        if (!isFolder || access != FILE_ADD_FILE)
          return original(path, access, share, security, how, flags, like);
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
      });
  ExpectLog("nothing is written to " + ToUtf8(log_) + ": ", true);
  MakeLog();
  ExpectLog("it is written to " + ToUtf8(log_) + "\n");
}

TEST_F(DiagnosisTest, ASystemWithoutAFolderForTheLogIsTold) {
  const Patched<&::SHGetSpecialFolderPathW> none("SHGetSpecialFolderPathW", [](auto...) { return FALSE; });
  ExpectLog("nothing is written: the system names no folder for the log\n", true);
}

TEST_F(DiagnosisTest, OnArmX64ProgramsSeeNoMenu) {
  const Report report = DiagnoseInstallation({Architecture::kArm64, true, 22631});
  EXPECT_THAT(report.AsText(), HasSubstr("\nARM64 programs\n"));
  EXPECT_THAT(report.AsText(),
              HasSubstr("64-bit programs made for x64 show no menu: they cannot load the ARM64 library\n"));
  EXPECT_THAT(DiagnoseInstallation({Architecture::k64Bit, true, 22631}).AsText(), Not(HasSubstr("x64")));
}

TEST_F(DiagnosisTest, ALibraryForAnotherProcessorIsTheWrongOne) {
  // This program stands for the library, on a Windows for another processor than its own.
  const bool isArm = OwnArchitecture() == Architecture::kArm64;
  const Architecture windows = isArm ? Architecture::k64Bit : Architecture::kArm64;
  const std::string programs = std::string(ArchitectureName(windows)) + " programs";
  const std::wstring library = ReadModulePath(nullptr);
  WriteRegistryText(HKEY_LOCAL_MACHINE, kMenuClass + L"\\InprocServer32", L"", library);
  const Report report = DiagnoseInstallation({windows, false, 22631});
  EXPECT_TRUE(report.HasBad(kArchitectureFact));
  EXPECT_THAT(report.AsText(), HasSubstr(programs + " cannot load it\n"));
  EXPECT_THAT(report.AsText(), HasSubstr("BAD   " + programs +
                                         " show no menu: they cannot load the library that is registered\n"));
}

TEST_F(DiagnosisTest, AWindowsWithout32BitProgramsMissesNothing) {
  const Report report = DiagnoseInstallation({Architecture::k64Bit, false, 22631});
  EXPECT_THAT(report.AsText(), HasSubstr("\n32-bit programs\n"
                                         "        this Windows runs none: it has no 32-bit support\n"));
}

TEST_F(DiagnosisTest, A32BitWindowsHasOneView) {
  const std::string text = DiagnoseInstallation({Architecture::k32Bit, true, 7601}).AsText();
  EXPECT_THAT(text, HasSubstr("\n32-bit programs\n"));
  EXPECT_THAT(text, Not(HasSubstr("64-bit programs")));
}

TEST_F(DiagnosisTest, ALogThatIsSwitchedOffNeedsNoFolder) {
  WriteRegistryDword(HKEY_LOCAL_MACHINE, L"Software\\Nimbrel\\Sync", L"ShellExtLog", 0);
  const Report report = DiagnoseInstallation();
  EXPECT_THAT(report.AsText(), HasSubstr("it is switched off (ShellExtLog is 0)\n"));
  EXPECT_THAT(report.AsText(), Not(HasSubstr("it is switched on")));
  EXPECT_FALSE(report.HasBad(kLogFact));
}

}  // namespace
}  // namespace veskard::test
