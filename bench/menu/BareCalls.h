// What the bare right-click and the bare choice have in common.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>

namespace veskard::bench {

/// The registry's switch of the log, read as it is when objects come and go.
void BareLogSwitch();

/// The service agent's mutex.
void BareAgentLookUp();

/// The wide names of a list, locked for as long as it lives; an empty one ends them.
class BareDropList {
 public:
  explicit BareDropList(HDROP drop);
  ~BareDropList() { ::GlobalUnlock(drop_); }
  BareDropList(const BareDropList&) = delete;
  BareDropList& operator=(const BareDropList&) = delete;

  const wchar_t* First() const noexcept { return first_; }

 private:
  HDROP drop_;
  const wchar_t* first_;
};

}  // namespace veskard::bench
