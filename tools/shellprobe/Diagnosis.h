// Diagnosis: whether the extension is installed as it should be.
#pragma once

#include <string>

#include "tools/shellprobe/Report.h"

namespace veskard {

// Names of the facts that can be bad, in the order in which they matter.
inline constexpr char kRegistrationFact[] = "registration";
inline constexpr char kLibraryFact[] = "library";
inline constexpr char kVersionFact[] = "version";
inline constexpr char kExportsFact[] = "exports";
inline constexpr char kActivationFact[] = "activation";
inline constexpr char kFileTypeFact[] = "fileType";
inline constexpr char kLogFact[] = "log";
inline constexpr char kLanguageFact[] = "language";

/// Checks the registry's ten values, the library and its classes, the file type,
/// the log and the language. Activates the classes and loads the texts as any
/// program does, so the log may get lines, and a translator's check file beside this
/// program its report; changes nothing else. COM must be there.
Report DiagnoseInstallation();

/// Registers a library, as regsvr32 /n /i:S does. Throws ToolError when it cannot
/// be loaded or refuses.
void RegisterLibrary(const std::wstring& file);

}  // namespace veskard
