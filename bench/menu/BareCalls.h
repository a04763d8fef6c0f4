// What the bare right-click and the bare choice have in common.
#pragma once

namespace veskard::bench {

/// The registry's switch of the log, read as it is when objects come and go.
void BareLogSwitch();

/// The service agent's mutex.
void BareAgentLookUp();

}  // namespace veskard::bench
