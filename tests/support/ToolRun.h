// ToolRun: one of our programs, run as a script runs it.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard::test {

struct ToolResult {
  DWORD exitCode = 0;
  std::string output;  // UTF-8, as written
  std::string errors;
};

/// The full path of a program that was built beside the tests.
std::wstring BuiltProgram(const std::wstring& name);

/// The full path of a program of the system's own.
std::wstring SystemProgram(const std::wstring& name);

/// Runs a program with its arguments and waits for it; a program that takes
/// longer than a minute is ended and answers 0xFFFFFFFF.
ToolResult RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments);

/// RunProgram(BuiltProgram(L"shellprobe.exe"), ...) and the like.
inline ToolResult RunTool(const std::wstring& name, const std::vector<std::wstring>& arguments) {
  return RunProgram(BuiltProgram(name), arguments);
}

}  // namespace veskard::test
