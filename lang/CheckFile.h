// The translator's check file: translations tried without a build.
#pragma once

#include <string>
#include <string_view>

#include "lang/LanguageTable.h"

namespace veskard {

/// The check file of a program, "C:\...\explorer.exe" -> "...\explorer.exe.lang.txt".
std::wstring CheckFilePath(const std::wstring& programPath);

/// Where its report goes: ".log" in place of the final ".txt".
std::wstring CheckReportPath(const std::wstring& checkFilePath);

/// Applies a check file to the table and writes the report beside the file when there is
/// anything to report. A file that does not exist, cannot be read or converted, or has
/// more than a megabyte is ignored. The file is UTF-8 when it begins with the byte-order mark,
/// else text in the system's ANSI code page; the report is UTF-8, with the mark where
/// the file has it; one that cannot be written is dropped. Throws std::bad_alloc only.
void ApplyCheckFile(LanguageTable& table, const std::wstring& checkFilePath);

}  // namespace veskard
