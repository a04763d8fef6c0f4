// The first menu as a host gets it: fly-outs made by the built library, and the surroundings
// that they read.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/ExplorerCommandLibrary.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/LogReader.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/StandInArray.h"
#include "tests/support/SyncTree.h"

namespace veskard::test {

/// A host that has the library loaded, with a registry and an application-data folder of its
/// own and a service agent that is there but takes no messages.
class FirstMenuTest : public testing::Test {
 protected:
  FirstMenuTest() : log_(applicationData_.Path()) { registry_.SetApplicationData(applicationData_.Path()); }

  ~FirstMenuTest() override { library_.UnloadWhole(); }

  /// Right-clicks made-up items: a new fly-out. Returns the letters of its children.
  std::string MenuFor(const std::vector<std::wstring>& paths) const {
    StandInArray selection(paths);
    return MenuOf(selection);
  }
  std::string MenuOf(StandInArray& selection) const {
    return FirstMenuLetters(*library_.NewFlyOut().Get(), &selection);
  }

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
  LogReader log_;
  SyncTree tree_;
  std::optional<FakeAgentMutex> service_{AgentKind::kService};
  ExplorerCommandLibrary library_;
};

}  // namespace veskard::test
