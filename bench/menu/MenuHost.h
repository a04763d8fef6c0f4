// MenuHost: a host that has loaded the built library, with a registry of its own where
// the log is off, and a service agent that is there but takes no messages.
#pragma once

#include "tests/shellext/contextmenu/LibraryMenu.h"

namespace veskard::bench {

/// A whole right-click: create, initialise, query, release.
void RightClick(const test::ExtensionLibrary& library, IDataObject* selection, HMENU menu);

class MenuHost {
 public:
  MenuHost();

  const test::ExtensionLibrary& Extension() const noexcept { return library_; }

 private:
  test::RegistrySandbox registry_;
  test::FakeAgentMutex agent_{test::AgentKind::kService};
  test::ExtensionLibrary library_;
};

}  // namespace veskard::bench
