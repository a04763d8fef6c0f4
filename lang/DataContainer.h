// DataContainer: a view of bytes, and whether there are any.
#pragma once

#include <cstdint>
#include <string_view>

namespace veskard {

/// The numbers are fixed; 1 is not used.
enum class DataStatus : uint32_t {
  kReady = 0,
  kMissing = 2,
  kEmpty = 3,
};

/// The derived class that sets the bytes keeps them alive.
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
