// What the baseline right-click and the baseline choice have in common.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>

namespace veskard::bench {

/// The registry's switch of the log, read as it is when objects come and go.
void BaselineLogSwitch();

/// The service agent's mutex.
void BaselineAgentLookUp();

/// The wide names of a list, locked for its lifetime; an empty one ends them.
class BaselineDropList {
 public:
  explicit BaselineDropList(HDROP drop);
  ~BaselineDropList() { ::GlobalUnlock(drop_); }
  BaselineDropList(const BaselineDropList&) = delete;
  BaselineDropList& operator=(const BaselineDropList&) = delete;

  const wchar_t* First() const noexcept { return first_; }

 private:
  HDROP drop_;
  const wchar_t* first_;
};

}  // namespace veskard::bench
