#include "tools/shellprobe/Diagnosis.h"

#include <windows.h>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"
#include "lang/Language.h"
#include "shellext/module/DiagnosticLog.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/FirstMenuDiagnosis.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "tools/shellprobe/ViewDiagnosis.h"

namespace veskard {
namespace {

constexpr wchar_t kExtensionKey[] = L"Software\\Classes\\.ghpl";
constexpr wchar_t kTypeIconKey[] = L"Software\\Classes\\Nimbrel Veskard Agent\\DefaultIcon";

// Windows has one view for both kinds of 64-bit programs, and Explorer is an ARM64 one there.
void ReportOtherPrograms(Report& report, const Machine& machine) {
  if (machine.windows == Architecture::kArm64) {
    report.Section("64-bit programs made for x64");
    report.Note(kProgramsFact,
                "64-bit programs made for x64 show no menu: they cannot load the ARM64 library", "64-bit");
  }
  if (!machine.runs32Bit) {
    report.Section("32-bit programs");
    report.Note(kProgramsFact, "this Windows runs none: it has no 32-bit support", "32-bit");
  }
}

// What the library leaves to an installer. Without it placeholders keep a plain icon.
void CheckBinding(Report& report) {
  const auto type = ReadMachineText(kExtensionKey);
  if (type == kAgentName)
    return report.Good(kFileTypeFact, "\".ghpl\" files have the type that the icons are for");
  report.Bad(kFileTypeFact, type ? "\".ghpl\" files have the type \"" + ToUtf8(*type) + "\", not \"" +
                                       ToUtf8(kAgentName) + "\": no placeholder icons"
                                 : std::string("\".ghpl\" files have no type: no placeholder icons"));
}

// "%1": each file has an icon of its own. The Shell asks an icon handler only then.
void CheckTypeIcon(Report& report) {
  const auto icon = ReadMachineText(kTypeIconKey);
  if (icon == L"%1") return report.Good(kFileTypeFact, "the type gives each file its own icon");
  const std::string found = icon ? "is \"" + ToUtf8(*icon) + "\"" : "is missing";
  report.Bad(kFileTypeFact,
             "the type's DefaultIcon " + found + "; it should be \"%1\": no placeholder icons");
}

void CheckFileType(Report& report) {
  report.Section("Placeholder files");
  CheckBinding(report);
  CheckTypeIcon(report);
}

// Whether something that is there may be opened for that; else the last error says why not.
bool CanOpen(const std::wstring& path, DWORD access, DWORD flags) {
  return static_cast<bool>(UniqueFile(
      ::CreateFileW(path.c_str(), access, kShareEverything, nullptr, OPEN_EXISTING, flags, nullptr)));
}

bool CanAppend(const std::wstring& file) {
  return CanOpen(file, FILE_APPEND_DATA, FILE_ATTRIBUTE_NORMAL);
}

// A folder may be there and yet take no new file; trying it would leave one.
bool CanCreate(const std::wstring& file) {
  return CanOpen(file.substr(0, file.find_last_of(L'\\')), FILE_ADD_FILE, FILE_FLAG_BACKUP_SEMANTICS);
}

void CheckLogFile(Report& report, const std::wstring& file) {
  if (file.empty()) return report.Bad(kLogFact, "nothing is written: the system names no folder for the log");
  if (CanAppend(file)) return report.Good(kLogFact, "it is written to " + ToUtf8(file));
  if (::GetLastError() == ERROR_FILE_NOT_FOUND && CanCreate(file))
    return report.Good(kLogFact, "it will be written to " + ToUtf8(file));
  const DWORD error = ::GetLastError();
  if (error == ERROR_PATH_NOT_FOUND) {
    return report.Bad(kLogFact, "nothing is written: the folder of " + ToUtf8(file) + " is missing");
  }
  report.Bad(kLogFact, SystemError("nothing is written to " + ToUtf8(file), error).what());
}

void CheckLog(Report& report) {
  report.Section("Diagnostic log");
  if (!ReadLogSwitch()) return report.Note(kLogFact, "it is switched off (ShellExtLog is 0)");
  report.Note("logSwitch", "it is switched on");
  CheckLogFile(report, DiagnosticLogPath());
}

/// The archive of texts lies in the library, not in this program.
class TextsOfLibrary {
 public:
  explicit TextsOfLibrary(const std::wstring& file)
      : library_(::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
    SetModuleHandle(library_.Get());
    LoadLanguage(-1);
  }
  ~TextsOfLibrary() { SetModuleHandle(nullptr); }
  TextsOfLibrary(const TextsOfLibrary&) = delete;
  TextsOfLibrary& operator=(const TextsOfLibrary&) = delete;

  explicit operator bool() const noexcept { return static_cast<bool>(library_); }

 private:
  UniqueModule library_;
};

void CheckLanguage(Report& report, const std::wstring& library) {
  report.Section("Language");
  const TextsOfLibrary texts(library);
  if (!texts) return report.Note(kLanguageFact, "not checked, because no library can be loaded");
  const LanguageStatus status = GetLanguageStatus();
  if (status.archive != DataStatus::kReady)
    return report.Bad(kLanguageFact, "the library's texts cannot be read");
  for (const std::string& line : status.diagnostics) report.Bad(kLanguageFact, line);
  // English is correct unless a file of another language could not be read.
  report.Add(status.diagnostics.empty() ? Finding::kGood : Finding::kNote, kLanguageFact,
             status.member.empty() ? "texts are English" : "texts come from " + status.member);
  report.Note("sample", "for example \"" + ToUtf8(GetString(StringId::kSyncToThisDevice)) + "\"");
}

}  // namespace

Report DiagnoseInstallation(const Machine& machine) {
  Report report;
  const bool handlersGood = DiagnoseHandlers(report);
  for (const RegistryView& view : RegistryViewsOf(machine)) DiagnoseView(report, view, handlersGood);
  ReportOtherPrograms(report, machine);
  DiagnoseFirstMenu(report, ReadFirstMenuState(machine));
  CheckFileType(report);
  CheckLog(report);
  CheckLanguage(report, RegisteredLibraryPath());
  return report;
}

}  // namespace veskard
