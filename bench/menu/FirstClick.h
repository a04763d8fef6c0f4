// The first right-click of a process, measured in one of its own.
#pragma once

#include <string>
#include <vector>

namespace veskard::bench {

/// Microseconds.
struct FirstClick {
  double loading = 0;   // the library
  double clicking = 0;  // create, initialise, query, release
};

/// What a new process clicks on, and with which surroundings.
struct FirstClickSetting {
  std::wstring registry;                      // the name of a test's registry
  std::wstring item;                          // one that gets a menu
  std::vector<std::wstring> systemLibraries;  // loaded before
};

/// Runs first_click.exe. Ends the program with a message when that fails.
FirstClick ClickInNewProcess(const std::wstring& library, const FirstClickSetting& setting);

}  // namespace veskard::bench
