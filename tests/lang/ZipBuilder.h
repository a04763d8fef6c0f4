// Builds zip archives for tests, honest and damaged ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskard {

/// A member as it is to stand in the archive. What is not set is told truthfully.
struct ZipMember {
  std::string name = {};
  std::string contents = {};
  bool deflated = true;
  uint16_t flags = 0;
  std::optional<uint16_t> claimedMethod = {};
  std::optional<uint32_t> claimedSize = {};  // uncompressed
  std::optional<uint32_t> claimedCrc = {};
  std::optional<std::string> packed = {};  // the compressed bytes
  bool breaksLocalHeader = false;
  std::string extraField = {};  // of the directory entry
};

std::string BuildZip(const std::vector<ZipMember>& members);

/// The raw deflate stream of `bytes`.
std::string Deflate(const std::string& bytes);

}  // namespace veskard
