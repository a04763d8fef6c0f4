#include "tests/torture/Balance.h"

#include <windows.h>

#include "tests/support/FileTools.h"
#include "tests/support/GdiHandleCount.h"

namespace veskard::test {

Balance TakeBalance() {
  Balance balance;
  for (size_t i = 0; i < kHeldKinds; ++i) balance.held[i] = Faults::Taken(static_cast<Held>(i));
  balance.held[static_cast<size_t>(Held::kNothing)] = 0;
  balance.handles = CountOpenHandles();
  balance.gdiObjects = CountGdiHandles();
  return balance;
}

Balance WaitForBalance(const Balance& expected, int tries) {
  Balance balance = TakeBalance();
  for (int i = 0; i < tries && balance != expected; ++i) {
    ::Sleep(10);
    balance = TakeBalance();
  }
  return balance;
}

std::ostream& operator<<(std::ostream& out, const Balance& balance) {
  constexpr const char* kNames[] = {
      "",        "blocks",   "GDI+ objects",        "GDI+ starts",   "locks",          "modules",
      "senders", "searches", "local memory blocks", "locked blocks", "COM task blocks"};
  static_assert(std::size(kNames) == kHeldKinds);
  for (size_t i = 1; i < kHeldKinds; ++i) out << balance.held[i] << " " << kNames[i] << ", ";
  return out << balance.handles << " handles, " << balance.gdiObjects << " drawing objects";
}

}  // namespace veskard::test
