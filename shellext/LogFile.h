// LogFile: the open file behind the diagnostic log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/WindowsOwners.h"

namespace veskard {

/// Opened for appending, with full sharing, so that several processes write one
/// file and anybody may read, rename or delete it meanwhile.
class LogFile {
 public:
  explicit LogFile(std::wstring path) noexcept : path_(std::move(path)) {}

  bool Open() noexcept;
  const std::wstring& Path() const noexcept { return path_; }
  /// One write at the end of the file as it is at that moment, then one flush.
  void Append(const void* bytes, size_t count) noexcept;
  bool IsDeletePending() const noexcept;
  uint64_t Size() const noexcept;

 private:
  std::wstring path_;
  UniqueFile file_;
};

}  // namespace veskard
