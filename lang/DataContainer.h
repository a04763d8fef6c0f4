// DataContainer: bytes, and whether they are there.
#pragma once

#include <cstdint>
#include <string_view>

namespace veskard {

/// The numbers are part of the design.
enum class DataStatus : uint32_t {
  kReady = 0,
  kMissing = 2,
  kEmpty = 3,
};

/// A view of bytes that whoever fills it keeps alive, and their status.
class DataContainer {
 public:
  DataStatus Status() const noexcept { return status_; }
  /// The bytes; empty unless the status is kReady.
  std::string_view Bytes() const noexcept { return bytes_; }

 protected:
  DataContainer() noexcept = default;
  ~DataContainer() = default;

  void SetBytes(std::string_view bytes) noexcept {
    bytes_ = bytes;
    status_ = bytes.empty() ? DataStatus::kEmpty : DataStatus::kReady;
  }

 private:
  std::string_view bytes_;
  DataStatus status_ = DataStatus::kMissing;
};

}  // namespace veskard
