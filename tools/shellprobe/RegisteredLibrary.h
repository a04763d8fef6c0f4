// The library that the registry names, examined without using its classes.
#pragma once

#include <string>

#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

/// "InprocServer32" of a class in a view; empty when it is not registered there.
std::wstring LibraryOfClass(const std::wstring& classId, REGSAM view = kOwnView);

/// The same of this version's context-menu class.
std::wstring RegisteredLibraryPath(REGSAM view = kOwnView);

/// "MAJOR.MINOR.PATCH" from the file's version resource; empty without one.
std::string FileVersionText(const std::wstring& file);

/// Adds facts "library", "architecture", "version" and "exports" about the library of
/// programs of that architecture. Where this program is one of them, the file is loaded
/// and unloaded; none of its classes is requested, so that it opens no log. Returns the
/// reason why those programs cannot use it, whatever its version, such as "their library
/// does not exist"; null when they can.
const char* ReportLibraryFile(Report& report, const std::wstring& file, Architecture programs);

}  // namespace veskard
