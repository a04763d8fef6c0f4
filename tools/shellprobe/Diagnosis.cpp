#include "tools/shellprobe/Diagnosis.h"

#include <windows.h>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"
#include "lang/Language.h"
#include "shellext/Registration.h"
#include "shellext/module/DiagnosticLog.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr wchar_t kExtensionKey[] = L"Software\\Classes\\.ghpl";
constexpr wchar_t kTypeIconKey[] = L"Software\\Classes\\Nimbrel Veskard Agent\\DefaultIcon";

std::string ValueName(const RegistryEntry& row, const std::wstring& key) {
  return "HKEY_LOCAL_MACHINE\\" + ToUtf8(key) + (row.valueName.empty() ? "" : ", " + ToUtf8(row.valueName));
}

bool CheckRow(Report& report, const RegistryEntry& row) {
  const std::wstring key =
      row.keyArgument.empty() ? row.keyPath : FormatString(row.keyPath.c_str(), row.keyArgument);
  const auto value = ReadMachineText(key, row.valueName.empty() ? nullptr : row.valueName.c_str());
  if (value == row.data) return true;
  const std::string found = value ? "is \"" + ToUtf8(*value) + "\"" : "is missing";
  const std::string wanted = row.data.empty() ? "" : "; it should be \"" + ToUtf8(row.data) + "\"";
  report.Bad(kRegistrationFact, ValueName(row, key) + " " + found + wanted);
  return false;
}

void CheckRegistration(Report& report, const std::wstring& library) {
  report.Section("Registration");
  bool complete = true;
  for (const RegistryEntry& row : MakeRegistrationTable(MakeRegistrationNames(), library)) {
    if (row.root != nullptr && !CheckRow(report, row)) complete = false;
  }
  if (complete) report.Good(kRegistrationFact, "the ten values are there");
}

void CheckActivation(Report& report) {
  try {
    const ExtensionClasses classes;
    const UniqueCom<IUnknown> menu = classes.NewMenuHandler(L"C:\\");
    const UniqueCom<IUnknown> icon = classes.NewIconHandler();
    report.Good(kActivationFact, "both classes can be activated");
  } catch (const ToolError& error) {
    report.Bad(kActivationFact, error.what());
  }
}

void CheckLibrary(Report& report, const std::wstring& library) {
  report.Section("Library");
  if (library.empty()) return report.Bad(kLibraryFact, "the registry names no library");
  ReportLibraryFile(report, library);
  CheckActivation(report);
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
  if (icon == L"%1") return report.Good(kFileTypeFact, "the type lets each file have an icon of its own");
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
  if (!texts) return report.Note(kLanguageFact, "no library, no texts");
  const LanguageStatus status = GetLanguageStatus();
  if (status.archive != DataStatus::kReady)
    return report.Bad(kLanguageFact, "the library's texts cannot be read");
  for (const std::string& line : status.diagnostics) report.Bad(kLanguageFact, line);
  // English is as it should be unless another language was meant to be there.
  report.Add(status.diagnostics.empty() ? Finding::kGood : Finding::kNote, kLanguageFact,
             status.member.empty() ? "texts are English" : "texts come from " + status.member);
  report.Note("sample", "for example \"" + ToUtf8(GetString(StringId::kSyncToThisDevice)) + "\"");
}

}  // namespace

Report DiagnoseInstallation() {
  Report report;
  const std::wstring library = RegisteredLibraryPath();
  CheckRegistration(report, library);
  CheckLibrary(report, library);
  CheckFileType(report);
  CheckLog(report);
  CheckLanguage(report, library);
  return report;
}

void RegisterLibrary(const std::wstring& file) {
  using Install = HRESULT(WINAPI*)(BOOL, const wchar_t*);
  const UniqueModule library(::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  if (!library) throw LastSystemError("cannot load " + ToUtf8(file));
  const FARPROC address = ::GetProcAddress(library.Get(), "DllInstall");
  if (address == nullptr) throw LastSystemError(ToUtf8(file) + " has no DllInstall");
  const HRESULT result = reinterpret_cast<Install>(reinterpret_cast<void*>(address))(TRUE, L"S");
  if (FAILED(result)) {
    throw ToolError(ExitCode::kFailed,
                    "registration failed (" + HexCode(result) + "): are you an administrator?");
  }
}

}  // namespace veskard
