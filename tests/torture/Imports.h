// Imports: everything that the library imports, with how it fails.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>

namespace veskard::test {

/// An imported function that the harness stands in front of.
struct WatchedImport {
  const char* name;
  void* replacement;
  void** original;  // where the replacement looks for the function itself
};

/// Those that can fail, and those that take or give something.
std::span<const WatchedImport> WatchedImports();

/// Those that are left alone: what they free is counted elsewhere, they cannot
/// fail, or they are what the compiler's run-time library stands on. Of the C
/// run-time library's functions only those of the heap are watched.
std::span<const std::string_view> UnwatchedImports();

/// From the next WatchImportsOf on, calls of that function that do not fail are
/// answered by another one of its type.
void AnswerBy(std::string_view function, void* standIn);
void StopAnswering();

/// Puts the harness in front of the watched functions in the module's import table;
/// only unloading the module undoes it. One module at a time.
void WatchImportsOf(HMODULE module);

}  // namespace veskard::test
