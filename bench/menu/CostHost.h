// CostHost: one process that has loaded today's library and the old one, with a registry
// of its own, a folder for the log and a service agent that takes no messages.
#pragma once

#include "bench/menu/ComparedLibraries.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"

namespace veskard::bench {

class CostHost {
 public:
  /// With the log off.
  CostHost();

  const test::ExtensionLibrary& New() const noexcept { return new_; }
  const test::ExtensionLibrary& Old() const noexcept { return old_; }
  /// For processes that load one of them themselves.
  const ComparedLibraries& Files() const noexcept { return files_; }
  const std::wstring& Registry() const noexcept { return registry_.Name(); }

  /// The lines that the two have written to the log since the last call.
  size_t NewLogLines() { return log_.NewLines().size(); }

 private:
  test::RegistrySandbox registry_;
  test::ScratchFolder applicationData_;
  test::LogReader log_;
  test::FakeAgentMutex agent_{test::AgentKind::kService};
  ComparedLibraries files_;
  test::ExtensionLibrary new_;
  test::ExtensionLibrary old_;
};

}  // namespace veskard::bench
