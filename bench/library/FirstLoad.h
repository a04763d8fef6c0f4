// Loading a library for the first time in a process, measured in one of its own.
#pragma once

#include <string>
#include <vector>

namespace veskard::bench {

/// Microseconds.
struct FirstLoad {
  double system = 0;  // loading the system's libraries before
  double library = 0;
  double unloading = 0;
};

/// Runs load_once.exe. Ends the program with a message when that fails.
FirstLoad LoadInNewProcess(const std::wstring& library, const std::vector<std::wstring>& systemLibraries);

}  // namespace veskard::bench
