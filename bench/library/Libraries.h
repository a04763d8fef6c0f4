// The libraries that loading is measured with.
#pragma once

#include <string>
#include <vector>

namespace veskard::bench {

/// What the library imports beside kernel32.dll: loading it loads these. Explorer has all
/// of them.
inline const std::vector<std::wstring> kSystemLibraries = {
    L"advapi32.dll", L"gdi32.dll", L"msvcrt.dll", L"ole32.dll", L"shell32.dll", L"shlwapi.dll", L"user32.dll",
};

/// A program or library that was built beside this one.
std::wstring BesideThisProgram(const wchar_t* name);

/// Those that are compared: the built library, and one that does nothing.
inline std::wstring BuiltLibrary() {
  return BesideThisProgram(L"..\\VeskardShellExt.dll");
}
inline std::wstring EmptyLibrary() {
  return BesideThisProgram(L"empty_library.dll");
}

}  // namespace veskard::bench
