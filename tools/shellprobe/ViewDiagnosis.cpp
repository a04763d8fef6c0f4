#include "tools/shellprobe/ViewDiagnosis.h"

#include <windows.h>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "shellext/Registration.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/DoctorFacts.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "tools/shellprobe/UsualLibrary.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

std::string ValueName(const RegistryEntry& row, const std::wstring& key) {
  return "HKEY_LOCAL_MACHINE\\" + ToUtf8(key) + (row.valueName.empty() ? "" : ", " + ToUtf8(row.valueName));
}

bool CheckRow(Report& report, const RegistryEntry& row, REGSAM view) {
  const std::wstring key =
      row.keyArgument.empty() ? row.keyPath : FormatString(row.keyPath.c_str(), row.keyArgument);
  const auto value = ReadMachineText(key, row.valueName.empty() ? nullptr : row.valueName.c_str(), view);
  if (value == row.data) return true;
  const std::string found = value ? "is \"" + ToUtf8(*value) + "\"" : "is missing";
  const std::string wanted = row.data.empty() ? "" : "; it should be \"" + ToUtf8(row.data) + "\"";
  report.Bad(kRegistrationFact, ValueName(row, key) + " " + found + wanted);
  return false;
}

// The keys of classes, which take the class as an argument, are there once for each view.
bool IsShared(const RegistryEntry& row) {
  return row.keyArgument.empty();
}

bool CheckRows(Report& report, const std::wstring& library, REGSAM view, bool shared) {
  bool complete = true;
  for (const RegistryEntry& row : MakeRegistrationTable(MakeRegistrationNames(), library)) {
    if (row.root == nullptr || IsShared(row) != shared) continue;
    if (!CheckRow(report, row, view)) complete = false;
  }
  return complete;
}

// True also where this program is of the wrong kind to try.
bool CheckActivation(Report& report, Architecture programs) {
  if (programs != OwnArchitecture()) {
    report.Note(kActivationFact, std::string("the classes are not tried: shellprobe itself is one of the ") +
                                     ArchitectureName(OwnArchitecture()) + " programs");
    return true;
  }
  try {
    const ExtensionClasses classes;
    const UniqueCom<IUnknown> menu = classes.NewMenuHandler(L"C:\\");
    const UniqueCom<IUnknown> icon = classes.NewIconHandler();
    report.Good(kActivationFact, "both classes can be activated");
    return true;
  } catch (const ToolError& error) {
    report.Bad(kActivationFact, error.what());
    return false;
  }
}

// The reason why the programs of the view show no menu; null when they do.
const char* CheckClasses(Report& report, const RegistryView& view, const std::wstring& library) {
  const bool complete = CheckRows(report, library, view.flag, false);
  if (complete) report.Good(kRegistrationFact, "the six values of the classes exist");
  if (const char* obstacle = ReportLibraryFile(report, library, view.programs)) return obstacle;
  const bool activates = CheckActivation(report, view.programs);
  if (FileVersionText(library) != ToUtf8(kVersionText)) return "their library is of another version";
  if (!activates) return "the classes cannot be activated";
  return complete ? nullptr : "their registration is incomplete";
}

void ReportPrograms(Report& report, Finding finding, const RegistryView& view, const std::string& text) {
  const std::string name = ArchitectureName(view.programs);
  report.Add(finding, kProgramsFact, name + " programs " + text, name);
}

void ReportMissing(Report& report, const RegistryView& view) {
  const bool isExpected = IsViewExpected(view);
  if (isExpected) report.Bad(kRegistrationFact, "the registry names no library");
  ReportPrograms(report, isExpected ? Finding::kBad : Finding::kNote, view,
                 "show no menu: no library is registered for them");
  report.Note("repair", isExpected
                            ? "to register it, as administrator: shellprobe doctor --repair"
                            : "to register one, as administrator: shellprobe doctor --repair --dll FILE");
}

}  // namespace

bool DiagnoseHandlers(Report& report) {
  report.Section("Handlers");
  const bool complete = CheckRows(report, {}, kOwnView, true);
  if (complete) report.Good(kRegistrationFact, "the four values that all programs share exist");
  return complete;
}

void DiagnoseView(Report& report, const RegistryView& view, bool handlersGood) {
  report.Section(std::string(ArchitectureName(view.programs)) + " programs");
  const std::wstring library = RegisteredLibraryPath(view.flag);
  if (library.empty()) return ReportMissing(report, view);
  const char* obstacle = CheckClasses(report, view, library);
  if (obstacle == nullptr && !handlersGood) obstacle = "a handler's key is wrong";
  if (obstacle == nullptr) return ReportPrograms(report, Finding::kGood, view, "show the menu");
  ReportPrograms(report, Finding::kBad, view, std::string("show no menu: ") + obstacle);
  report.Note("repair", "to register it again, as administrator: shellprobe doctor --repair");
}

}  // namespace veskard
