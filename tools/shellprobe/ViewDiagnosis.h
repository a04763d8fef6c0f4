// ViewDiagnosis: whether programs of one architecture find the extension.
#pragma once

#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

/// Adds a section with the four values that all programs share: the handlers' keys.
/// Whether all are right.
bool DiagnoseHandlers(Report& report);

/// Adds a section about the programs that look into `view`: the six values of the classes,
/// the library that they name, and whether the classes can be activated, where this program
/// can try. Its last fact says whether those programs show the menu. What the installation
/// does not have at all, for programs of another kind than this one, is a note and not bad.
/// `handlersGood` is what DiagnoseHandlers answered. COM must be initialised.
void DiagnoseView(Report& report, const RegistryView& view, bool handlersGood);

}  // namespace veskard
