// shellprobe explain, doctor and tail on the registered library.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <tuple>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "tests/end_to_end/Registrar.h"
#include "tests/end_to_end/RightClickTest.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/support/AgentFolder.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/Patched.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"
#include "tests/support/ToolRun.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Diagnosis.h"
#include "tools/shellprobe/Explanation.h"
#include "tools/shellprobe/Repair.h"
#include "tools/shellprobe/UsualLibrary.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::Not;

class InsightTest : public RightClickTest {
 protected:
  static ToolResult Probe(const std::vector<std::wstring>& words) {
    return RunTool(L"shellprobe.exe", words);
  }

  static ToolResult Explain(const Paths& paths) {
    Paths words = {L"explain"};
    words.insert(words.end(), paths.begin(), paths.end());
    return Probe(words);
  }
};

TEST_F(InsightTest, ExplainTellsTheWholeChain) {
  Root(L"Root", {.type = 1, .owner = UserName()});
  const ToolResult result = Explain({Placeholder(L"Root\\a.ghpl", 45)});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("its version is " + ToUtf8(kVersionText) + "\n"));
  for (const char* text :
       {"the menu handler for \"*\" is {8AF59405-", "\\Root\\.sync\\FolderType, ", "\"mode\": 1",
        "selective sync: yes", "who is the current user", "being received, 45 %", "has a free instance",
        "Cancel receiving          shown: a selected placeholder is being received",
        "Remove from all devices   greyed: the folder's type is not 2"}) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
  EXPECT_THAT(result.output, Not(HasSubstr("BAD")));
}

TEST_F(InsightTest, ExplainNamesWhatIsWrong) {
  const std::wstring outside = File(L"a.txt");
  EXPECT_THAT(Explain({outside}).output,
              HasSubstr("BAD   neither the item nor a folder above it holds the mark .sync\\ID"));
  const std::wstring root = Root(L"Root", {.owner = "somebody"});
  const std::wstring inside = File(L"Root\\a.txt");
  EXPECT_THAT(Explain({inside}).output, HasSubstr("BAD   it belongs to somebody; the current user is "));
  EXPECT_THAT(Explain({root + L"\\.sync\\ID"}).output,
              HasSubstr("BAD   the item is one of the agent's own files"));
  LayFile(root + L"\\.sync\\FolderType", "d4:mode");
  EXPECT_THAT(Explain({inside}).output, HasSubstr("BAD   it is damaged at byte 7; "));
  RemoveAgent();
  const ToolResult without = Explain({inside});
  EXPECT_EQ(without.exitCode, 14u);
  EXPECT_THAT(without.output,
              HasSubstr("BAD   it is not running: the mutex Global\\pipesynccmd_SIT does not exist"));
}

TEST_F(InsightTest, ExplainAgreesWithTheMenu) {
  Root(L"Plain");
  Root(L"Whole", {.mode = 0});
  Root(L"Forbidden", {.disableRemoveFromAllDevices = true});
  const Paths selections = {Folder(L"Plain\\Maps"),        File(L"Plain\\a.txt"),
                            Placeholder(L"Plain\\b.ghpl"), Placeholder(L"Plain\\c.ghpl", 10),
                            File(L"Whole\\a.txt"),         File(L"Forbidden\\a.txt"),
                            File(L"outside.txt")};
  for (const std::wstring& path : selections) {
    const std::vector<std::string> menu = MenuOf({path});
    const ToolResult result = Explain({path});
    EXPECT_EQ(result.exitCode, menu.empty() ? 14u : 0u);
    for (std::string title : {kSync, kCancel, kRemoveHere, kRemoveEverywhere}) {
      const bool shown = std::find(menu.begin(), menu.end(), title) != menu.end();
      const bool greyed = std::find(menu.begin(), menu.end(), title + " (greyed)") != menu.end();
      title.resize(24, ' ');
      EXPECT_THAT(result.output, HasSubstr(title + "  " +
                                           (shown    ? "shown: "
                                            : greyed ? "greyed: "
                                                     : "hidden: ")));
    }
  }
}

TEST_F(InsightTest, ExplainAnswersPrograms) {
  const ToolResult result = Probe({L"explain", L"--json", File(L"a.txt")});
  EXPECT_EQ(result.exitCode, 14u);
  EXPECT_THAT(result.output, HasSubstr("\"name\": \"root\", \"finding\": \"bad\""));
  EXPECT_THAT(result.output, HasSubstr("\"menu\": false"));
  EXPECT_THAT(result.output,
              HasSubstr("\"command\": 5, \"text\": \"Remove from all devices\", \"state\": \"hidden\""));
}

TEST_F(InsightTest, ExplainTellsAMutexThatThisUserMayNotOpen) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  // Wine lets everybody open a mutex, whatever its access list.
  const Patched<&::OpenMutexW> refused("OpenMutexW", [](auto...) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  });
  const Explanation explanation = ExplainSelection({file});
  EXPECT_THAT(
      explanation.report.AsText(),
      HasSubstr("BAD   it is running, but this user may not open its mutex Global\\pipesynccmd_SIT\n"));
  EXPECT_FALSE(explanation.HasMenu());
  EXPECT_THAT(explanation.commands[2].reason,
              "this user may not open the agent's mutex; otherwise shown: a selected file is on this device");
}

TEST_F(InsightTest, ExplainTellsABusyPipe) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  RemoveAgent();
  const UniqueHandle mutex(::CreateMutexW(nullptr, FALSE, kServiceAgent.mutex));
  const UniqueFile server(
      ::CreateNamedPipeW(kServiceAgent.pipe, PIPE_ACCESS_INBOUND, PIPE_TYPE_MESSAGE, 1, 64, 64, 0, nullptr));
  const UniqueFile client(
      ::CreateFileW(kServiceAgent.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(mutex && server && client);
  const ToolResult result = Explain({file});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_THAT(result.output, HasSubstr("BAD   its pipe \\\\.\\pipe\\syncsvccmd_SIT is busy; a chosen command "
                                       "would be lost\n"));
}

TEST_F(InsightTest, WithoutAScreenThereIsNoPicture) {
  // The tests run without one; the demo takes pictures.
  Root();
  const ToolResult result = Probe({L"menu", File(L"Root\\a.txt"), L"--png", folder_ / L"menu.png"});
  EXPECT_EQ(result.exitCode, 1u);
  EXPECT_EQ(result.errors, "shellprobe: the menu cannot be shown: there is no screen\n");
}

/// The log and the placeholders' file type as the agent and its installer leave them.
class InstalledTest : public InsightTest {
 protected:
  InstalledTest() {
    WriteRegistryText(HKEY_LOCAL_MACHINE, kBindingKey, L"", L"Nimbrel Veskard Agent");
    WriteRegistryText(HKEY_LOCAL_MACHINE, kTypeIconKey, L"", L"%1");
  }
  ~InstalledTest() override {
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kBindingKey);
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kTypeIconKey);
    RegisterExtension();
  }

  static constexpr wchar_t kBindingKey[] = L"Software\\Classes\\.ghpl";
  static constexpr wchar_t kTypeIconKey[] = L"Software\\Classes\\Nimbrel Veskard Agent\\DefaultIcon";

  AgentFolder agentFolder_;
};

TEST_F(InstalledTest, DoctorFindsAGoodInstallationGood) {
  const ToolResult result = Probe({L"doctor"});
  EXPECT_EQ(result.exitCode, 0u) << result.output;
  EXPECT_THAT(result.output, HasSubstr("ok    the four values that all programs share exist"));
  EXPECT_THAT(result.output, HasSubstr("ok    both classes can be activated"));
  EXPECT_THAT(Probe({L"doctor", L"--json"}).output, HasSubstr("{\"healthy\": true, "));
}

TEST_F(InstalledTest, DoctorNamesAWrongValueAndRepairsIt) {
  ASSERT_EQ(::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kFolders.c_str(), nullptr, REG_SZ, L"wrong", 12),
            ERROR_SUCCESS);
  const ToolResult before = Probe({L"doctor"});
  EXPECT_EQ(before.exitCode, 20u);
  EXPECT_THAT(before.output, HasSubstr("is \"wrong\"; it should be \"{8AF59405-"));
  EXPECT_EQ(Probe({L"doctor", L"--repair"}).exitCode, 0u);
  EXPECT_EQ(Probe({L"doctor"}).exitCode, 0u);
}

TEST_F(InstalledTest, DoctorRepairsAnInstallationThatIsNotThere) {
  ASSERT_EQ(UnregisterExtension().exitCode, 0u);
  EXPECT_EQ(Probe({L"doctor"}).exitCode, 20u);
  EXPECT_EQ(Probe({L"doctor", L"--repair", L"--dll", ExtensionLibraryPath()}).exitCode, 0u);
}

/// The registry's other view, for programs of the other bitness than this one.
class OtherViewTest : public InstalledTest {
 protected:
  // The classes are activated in this process, whose log would keep its folder in use.
  OtherViewTest() { SetLogSwitch(0); }
  ~OtherViewTest() override {
    DeleteRegistryValue(HKEY_LOCAL_MACHINE, kLogSwitchKey, kLogSwitchValue);
    for (const wchar_t* classKey : {kMenuClass.c_str(), kIconClass.c_str()}) {
      const std::wstring server = std::wstring(classKey) + L"\\InprocServer32";
      ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, server.c_str(), kOther.flag, 0);
      ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, classKey, kOther.flag, 0);
    }
  }

  /// Registers a library there as its own registration would.
  void RegisterInOtherView(const std::wstring& library) const {
    for (const WrittenKey& row : TenRows(library)) Write(row);
  }

  /// A built library with the header of one for the other programs: enough for what can be
  /// seen of it from here.
  std::wstring OtherLibrary(const std::wstring& name = L"other.dll",
                            const std::wstring& original = ExtensionLibraryPath()) const {
    const std::wstring file = folder_ / name;
    std::filesystem::copy_file(original, file);
    std::fstream bytes(std::filesystem::path(file), std::ios::in | std::ios::out | std::ios::binary);
    uint32_t header = 0;
    bytes.seekg(offsetof(IMAGE_DOS_HEADER, e_lfanew)).read(reinterpret_cast<char*>(&header), sizeof header);
    const WORD machine = kIs64Bit ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64;
    bytes.seekp(header + sizeof(DWORD)).write(reinterpret_cast<const char*>(&machine), sizeof machine);
    return file;
  }

  std::wstring MakeUsualLibrary() const {
    ::CreateDirectoryW((folder_ / L"x86").c_str(), nullptr);
    return OtherLibrary(L"x86\\VeskardShellExt.dll");
  }

  struct Started {
    std::wstring program;
    std::wstring commandLine;
  };

  /// What the repair would start; it is refused.
  static std::vector<Started> RepairWithoutStarting() {
    std::vector<Started> started;
    const Patched<&::CreateProcessW> start("CreateProcessW",
                                           [&](auto, const wchar_t* program, wchar_t* commandLine, auto...) {
                                             started.push_back({program, commandLine});
                                             ::SetLastError(ERROR_FILE_NOT_FOUND);
                                             return FALSE;
                                           });
    EXPECT_THROW(RepairRegistration(kMachine), ToolError);
    return started;
  }

  static void ExpectLine(const Report& report, const std::string& line) {
    EXPECT_THAT(report.AsText(), HasSubstr(line + "\n"));
  }

  static Report Diagnose() { return DiagnoseInstallation(kMachine); }

  static constexpr bool kIs64Bit = sizeof(void*) == 8;
  static inline const Machine kMachine = {kIs64Bit ? OwnArchitecture() : Architecture::k64Bit, true, 19045};
  static constexpr RegistryView kOther = {kIs64Bit ? REGSAM{KEY_WOW64_32KEY} : REGSAM{KEY_WOW64_64KEY},
                                          kIs64Bit ? Architecture::k32Bit : Architecture::k64Bit};
  const std::string own_ = ArchitectureName(OwnArchitecture());
  const std::string other_ = kIs64Bit ? "32-bit" : "64-bit";

 private:
  static void Write(const WrittenKey& row) {
    UniqueRegKey key;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, row.key.c_str(), 0, nullptr, 0, KEY_WRITE | kOther.flag,
                                nullptr, key.Out(), nullptr),
              ERROR_SUCCESS);
    ::RegSetValueExW(key.Get(), row.valueName.c_str(), 0, REG_SZ,
                     reinterpret_cast<const BYTE*>(row.data.c_str()),
                     static_cast<DWORD>((row.data.size() + 1) * sizeof(wchar_t)));
  }
};

TEST_F(OtherViewTest, AViewWithNothingOfOursIsToldAndNotBad) {
  const Report report = Diagnose();
  ExpectLine(report, "        " + other_ + " programs show no menu: no library is registered for them");
  EXPECT_FALSE(report.HasBad()) << report.AsText();
}

TEST_F(OtherViewTest, ALibraryThatFitsShowsTheMenu) {
  RegisterInOtherView(OtherLibrary());
  const Report report = Diagnose();
  ExpectLine(report, "  ok    it is for " + other_ + " programs");
  ExpectLine(report,
             "        the classes are not tried: shellprobe itself is one of the " + own_ + " programs");
  ExpectLine(report, "  ok    " + own_ + " programs show the menu");
  ExpectLine(report, "  ok    " + other_ + " programs show the menu");
  EXPECT_FALSE(report.HasBad()) << report.AsText();
}

TEST_F(OtherViewTest, ALibraryOfTheWrongArchitectureShowsNoMenu) {
  RegisterInOtherView(ExtensionLibraryPath());
  const Report report = Diagnose();
  EXPECT_TRUE(report.HasBad(kArchitectureFact));
  ExpectLine(report, "  BAD   it is for " + own_ + " programs: " + other_ + " programs cannot load it");
  ExpectLine(report,
             "  BAD   " + other_ + " programs show no menu: they cannot load the library that is registered");
}

TEST_F(OtherViewTest, ALibraryThatIsGoneShowsNoMenu) {
  RegisterInOtherView(L"C:\\gone.dll");
  const Report report = Diagnose();
  EXPECT_TRUE(report.HasBad(kLibraryFact));
  ExpectLine(report, "  BAD   " + other_ + " programs show no menu: their library does not exist");
}

TEST_F(OtherViewTest, AnIncompleteRegistrationIsBad) {
  RegisterInOtherView(OtherLibrary());
  const std::wstring server = kIconClass + L"\\InprocServer32";
  ASSERT_EQ(::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, server.c_str(), kOther.flag, 0), ERROR_SUCCESS);
  const Report report = Diagnose();
  EXPECT_TRUE(report.HasBad(kRegistrationFact));
  ExpectLine(report, "  BAD   " + other_ + " programs show no menu: their registration is incomplete");
  ExpectLine(report, "  ok    " + own_ + " programs show the menu");
}

// As the installation lays them: the library of Explorer, and the other one in "x86" there.
TEST_F(OtherViewTest, ALibraryAtItsUsualPlaceThatIsNotRegisteredIsBad) {
  const std::wstring own = folder_ / L"VeskardShellExt.dll";
  std::filesystem::copy_file(ExtensionLibraryPath(), own);
  RegisterLibrary(own);
  EXPECT_FALSE(Diagnose().HasBad());
  const std::wstring other = MakeUsualLibrary();
  const Report report = Diagnose();
  EXPECT_TRUE(report.HasBad(kRegistrationFact));
  ExpectLine(report, "  BAD   " + other_ + " programs show no menu: no library is registered for them");
  ExpectLine(report, "        to register it, as administrator: shellprobe doctor --repair");
  EXPECT_THAT(RepairWithoutStarting(), ElementsAre(FieldsAre(testing::_, HasSubstr(other))));
}

TEST_F(OtherViewTest, AnOlderLibraryShowsNoMenu) {
  RegisterInOtherView(OtherLibrary(L"older.dll", OlderLibraryPath()));
  const Report report = Diagnose();
  EXPECT_TRUE(report.HasBad(kVersionFact));
  ExpectLine(report, "  BAD   " + other_ + " programs show no menu: their library is of another version");
}

TEST_F(OtherViewTest, RepairStartsTheRegistrarOfTheOtherPrograms) {
  const std::wstring library = MakeUsualLibrary();
  RegisterInOtherView(folder_ / L"gone.dll");
  const std::vector<Started> started = RepairWithoutStarting();
  ASSERT_EQ(started.size(), 1u);
  const std::wstring& program = started[0].program;
  EXPECT_TRUE(program.ends_with(kIs64Bit ? L"\\syswow64\\regsvr32.exe" : L"\\Sysnative\\regsvr32.exe"))
      << ToUtf8(program);
  EXPECT_EQ(started[0].commandLine, L"\"" + program + L"\" /s /n /i:S \"" + library + L"\"");
}

TEST_F(OtherViewTest, RepairLeavesAViewAloneThatIsWell) {
  RegisterInOtherView(OtherLibrary());
  ASSERT_EQ(UnregisterExtension().exitCode, 0u);
  const Patched<&::CreateProcessW> start("CreateProcessW", [](auto...) {
    ADD_FAILURE() << "nothing is to be registered there";
    return FALSE;
  });
  // The shared keys stay with the other view, so this is the only view to mend.
  EXPECT_NO_THROW(RepairRegistration(kMachine));
  EXPECT_FALSE(Diagnose().HasBad()) << Diagnose().AsText();
}

TEST_F(OtherViewTest, RepairWithoutALibraryNamesTheWayOut) {
  RegisterInOtherView(L"C:\\gone.dll");
  try {
    RepairRegistration(kMachine);
    FAIL();
  } catch (const ToolError& error) {
    EXPECT_EQ(error.Code(), 1);
    EXPECT_EQ(std::string(error.what()), "no " + other_ + " VeskardShellExt.dll of version " +
                                             ToUtf8(kVersionText) +
                                             " is beside this program; name one with --dll FILE");
  }
}

TEST_F(OtherViewTest, MenuNamesTheLibraryThatAnswered) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  const std::string library = ToUtf8(ExtensionLibraryPath());
  EXPECT_THAT(Probe({L"menu", file}).output,
              testing::StartsWith(own_ + " library " + library + "\nPosition"));
  EXPECT_THAT(Probe({L"menu", L"--json", file}).output, HasSubstr("\"architecture\": \"" + own_ + "\""));
}

TEST_F(OtherViewTest, ExplainNamesTheProgramsThatItSpeaksOf) {
  Root();
  const ToolResult result = Explain({File(L"Root\\a.txt")});
  EXPECT_THAT(result.output, HasSubstr("Registration for " + own_ + " programs\n"));
  EXPECT_THAT(result.output, HasSubstr("  ok    it is for " + own_ + " programs\n"));
}

TEST_F(InstalledTest, DoctorFindsALibraryThatIsGone) {
  for (const std::wstring& key : {kMenuClass, kIconClass}) {
    const std::wstring server = key + L"\\InprocServer32";
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, server.c_str(), nullptr, REG_SZ, L"C:\\gone.dll", 24);
  }
  const ToolResult result = Probe({L"doctor"});
  EXPECT_EQ(result.exitCode, 21u);
  EXPECT_THAT(result.output, HasSubstr("a library that does not exist: C:\\gone.dll"));
}

TEST_F(InstalledTest, DoctorMissesTheBindingOfTheExtension) {
  ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kBindingKey);
  const ToolResult missing = Probe({L"doctor"});
  EXPECT_EQ(missing.exitCode, 22u);
  EXPECT_THAT(missing.output, HasSubstr("BAD   \".ghpl\" files have no type: no placeholder icons\n"));
  WriteRegistryText(HKEY_LOCAL_MACHINE, kBindingKey, L"", L"Something else");
  const ToolResult other = Probe({L"doctor"});
  EXPECT_EQ(other.exitCode, 22u);
  EXPECT_THAT(other.output, HasSubstr("BAD   \".ghpl\" files have the type \"Something else\", not "
                                      "\"Nimbrel Veskard Agent\": no placeholder icons\n"));
}

// The Shell asks an icon handler only where the type says that each file has its own.
TEST_F(InstalledTest, DoctorMissesTheIconOfTheFileType) {
  ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kTypeIconKey);
  EXPECT_EQ(Probe({L"doctor"}).exitCode, 22u);
  WriteRegistryText(HKEY_LOCAL_MACHINE, kTypeIconKey, L"", L"C:\\agent.ico");
  const ToolResult other = Probe({L"doctor"});
  EXPECT_EQ(other.exitCode, 22u);
  EXPECT_THAT(other.output, HasSubstr("BAD   the type's DefaultIcon is \"C:\\agent.ico\"; it should be "
                                      "\"%1\": no placeholder icons\n"));
}

TEST_F(InstalledTest, TailShowsWhatARightClickLogs) {
  Root();
  // In a program of its own, whose log is closed when it ends.
  EXPECT_EQ(Probe({L"menu", File(L"Root\\a.txt")}).exitCode, 0u);
  const ToolResult result =
      Probe({L"tail", L"--no-follow", L"--process", L"shellprobe.exe", L"--lines", L"50"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_THAT(result.output, HasSubstr(") Called context menu\n"));
  EXPECT_THAT(result.output, HasSubstr(") Added menu item - remove from this\n"));
  EXPECT_EQ(Probe({L"tail", L"--no-follow", L"--process", L"nobody.exe"}).output, "");
}

TEST_F(InstalledTest, ExplainLogsNothing) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  const auto logged = [] {
    return Probe({L"tail", L"--no-follow", L"--process", L"shellprobe.exe", L"--lines", L"100000"}).output;
  };
  EXPECT_EQ(Probe({L"menu", file}).exitCode, 0u);
  const std::string before = logged();
  EXPECT_EQ(Explain({file}).exitCode, 0u);
  EXPECT_EQ(logged(), before);
  // Not because the log had been off: doctor's activation begins a log in its process.
  EXPECT_EQ(Probe({L"doctor"}).exitCode, 0u);
  EXPECT_NE(logged(), before);
}

// Every file below a folder, with its contents.
std::map<std::wstring, std::string> ContentsOf(const std::wstring& folder) {
  std::map<std::wstring, std::string> contents;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    contents[entry.path().wstring()] = std::string(std::istreambuf_iterator<char>(file), {});
  }
  return contents;
}

TEST_F(InstalledTest, ExplainChangesNothing) {
  Root();
  const Paths paths = {File(L"Root\\a.txt"), Placeholder(L"Root\\b.ghpl", 45)};
  EXPECT_EQ(Explain(paths).exitCode, 0u);  // what the system itself notes of a first run is there now
  const auto state = [&] {
    return std::tuple(TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software"),
                      TakeRegistrySnapshot(HKEY_CURRENT_USER, L"Software"), ContentsOf(folder_.Path()),
                      ContentsOf(agentFolder_.Path()));
  };
  const auto before = state();
  EXPECT_EQ(Explain(paths).exitCode, 0u);
  EXPECT_TRUE(state() == before);
}

TEST_F(InstalledTest, ExplainTriesNoCheckFile) {
  // A copy of the program, so that no other test meets its check file.
  const std::wstring probe = folder_ / L"shellprobe.exe";
  const std::filesystem::path report = folder_ / L"shellprobe.exe.lang.log";
  std::filesystem::copy_file(BuiltProgram(L"shellprobe.exe"), probe);
  std::ofstream(std::filesystem::path(folder_ / L"shellprobe.exe.lang.txt")) << "No text of ours\n";
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  EXPECT_EQ(RunProgram(probe, {L"explain", file}).exitCode, 0u);
  EXPECT_FALSE(std::filesystem::exists(report));
  // Not because it would not be found: a right-click tries it.
  EXPECT_EQ(RunProgram(probe, {L"menu", file}).exitCode, 0u);
  EXPECT_TRUE(std::filesystem::exists(report));
}

}  // namespace
}  // namespace veskard::test
