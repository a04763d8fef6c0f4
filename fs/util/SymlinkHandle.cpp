#include "fs/util/SymlinkHandle.h"

namespace veskard {

uint32_t SymlinkHandle::Write(const void* buffer, uint32_t) {
  const auto hold = HoldLock();
  target_ = buffer != nullptr ? static_cast<const wchar_t*>(buffer) : L"";
  return static_cast<uint32_t>(target_.size());
}

}  // namespace veskard
