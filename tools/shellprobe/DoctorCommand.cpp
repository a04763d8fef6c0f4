// shellprobe doctor: whether the extension is installed correctly.
#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/ToolError.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/Diagnosis.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/Repair.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--repair", nullptr, "register what is broken, then check (as administrator)"},
    {"--dll", "FILE", "with --repair: register this library, for the programs that can load it"},
    {"--json", nullptr, "print one JSON object"},
};

struct FactExit {
  const char* fact;
  int exitCode;
};

// The first that is bad decides.
constexpr FactExit kExits[] = {
    {kRegistrationFact, kRegistrationBad}, {kLibraryFact, kLibraryBad}, {kArchitectureFact, kLibraryBad},
    {kVersionFact, kLibraryBad},           {kExportsFact, kLibraryBad}, {kActivationFact, kLibraryBad},
    {kFileTypeFact, kFileTypeBad},         {kLogFact, kLogBad},         {kLanguageFact, kLanguageBad},
    {kFirstMenuFact, kFirstMenuBad},
};

int ExitFor(const Report& report) {
  for (const FactExit& row : kExits) {
    if (report.HasBad(row.fact)) return row.exitCode;
  }
  return static_cast<int>(ExitCode::kDone);
}

void Repair(const Arguments& arguments) {
  if (arguments.Has("--dll")) {
    RegisterLibrary(FullPath(arguments.Text("--dll")));
  } else {
    RepairRegistration(ReadMachine());
  }
}

}  // namespace

const CommandSpec kDoctorSpec = {
    .program = "shellprobe",
    .name = "doctor",
    .arguments = "",
    .summary = "Checks the installation: registration, library, file type, log, language.",
    .minimumArguments = 0,
    .maximumArguments = 0,
    .options = kOptions,
    .notes =
        "64-bit and 32-bit programs each need a library of their own kind. Each kind that this Windows\n"
        "runs is checked. --repair registers the library that the registry names, or else\n"
        "VeskardShellExt.dll beside this program or in the folder x86 there.\n"
        "\n"
        "Activating the classes may add lines to the diagnostic log, and may write the report of a\n"
        "translator's check file beside this program.\n"
        "\n"
        "Exit codes: 0 no fault; 1 the repair failed; 2 wrong command line; otherwise the first fault:\n"
        "20 a registry value is wrong; 21 the library is missing, of another version, for other\n"
        "programs or cannot be used; 22 the placeholders' file type is wrong; 23 the log cannot be\n"
        "written; 24 the texts cannot be read; 25 Explorer's own menu on Windows 11 lacks the\n"
        "commands.\n",
};

int RunDoctor(const Arguments& arguments) {
  if (arguments.Has("--dll") && !arguments.Has("--repair")) {
    throw ToolError(ExitCode::kWrongUsage, "--dll needs --repair (see shellprobe doctor --help)");
  }
  const ComApartment apartment;
  if (arguments.Has("--repair")) Repair(arguments);
  const Report report = DiagnoseInstallation();
  if (arguments.Has("--json")) {
    JsonWriter json;
    json.BeginObject().Field("healthy", !report.HasBad());
    report.AppendTo(json);
    Print(json.EndObject().Text() + "\n");
  } else {
    Print(report.AsText());
  }
  return ExitFor(report);
}

}  // namespace veskard
