// The library that the registry names, looked at without starting it up.
#pragma once

#include <string>

#include "tools/shellprobe/Report.h"

namespace veskard {

/// "InprocServer32" of a class; empty when it is not registered.
std::wstring LibraryOfClass(const std::wstring& classId);

/// The same of this version's context-menu class.
std::wstring RegisteredLibraryPath();

/// "MAJOR.MINOR.PATCH" from the file's version resource; empty without one.
std::string FileVersionText(const std::wstring& file);

/// Adds facts "library", "version" and "exports" about a library file. It is
/// loaded and let go; none of its classes is asked for, so that it opens no log.
/// Whether the file is there and can serve, whatever its version.
bool ReportLibraryFile(Report& report, const std::wstring& file);

}  // namespace veskard
