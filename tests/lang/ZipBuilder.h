// Builds zip archives for tests, honest and damaged ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskard {

/// A member of the archive to build. Fields that are not set get their true values.
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
