// PathList: the paths of a selection, from any source.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// The selected paths, from the first to the last.
class PathList {
 public:
  virtual uint32_t Count() const noexcept = 0;

  /// The full path of an item; empty for an index that is not in the list. Throws
  /// std::bad_alloc only.
  virtual std::wstring At(uint32_t index) const = 0;

 protected:
  ~PathList() = default;
};

}  // namespace veskard
