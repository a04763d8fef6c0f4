// DropNames: the names in a drop list.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>

#include <cstdint>
#include <memory>
#include <string>

namespace veskard {

/// Reads the items of a drop list, which it does not own, through one buffer.
class DropNames {
 public:
  /// Names of `bufferSize` characters and more are cut to one less. Throws
  /// std::bad_alloc only.
  DropNames(HDROP drop, uint32_t bufferSize);

  /// The full path of an item; empty for an index that is not in the list. Throws
  /// std::bad_alloc only.
  std::wstring At(uint32_t index);

 private:
  HDROP drop_;
  uint32_t size_;
  std::unique_ptr<wchar_t[]> buffer_;
};

/// How many items a drop list has.
uint32_t CountDropNames(HDROP drop) noexcept;

}  // namespace veskard
