// Diagnosis: whether the extension is installed correctly.
#pragma once

#include "tools/shellprobe/DoctorFacts.h"
#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

/// Checks the registry's values, the library and its classes for the programs of each
/// architecture that the machine runs; then Explorer's own menu, the file type, the log and
/// the language.
/// Activates the classes of this program's own view and loads the texts as any program
/// does, so the log may get lines, and a translator's check file beside this program its
/// report; changes nothing else. COM must be initialised.
Report DiagnoseInstallation(const Machine& machine = ReadMachine());

}  // namespace veskard
