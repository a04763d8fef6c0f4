// CloudPath: the agent's own storage addresses.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veskard {

/// The parts of an address, all empty when the text is not a well-formed one:
///
///     cloud:/s1/s2/s3/r1/r2
///            |  |  |  +---- relative "r1/r2", tail {"r1", "r2"}
///            |  |  segment3
///            |  segment2
///            segment1
///
/// The segments have no meaning in this layer. Doubled, leading and trailing slashes are
/// dropped.
struct CloudPath {
  std::wstring segment1;
  std::wstring segment2;
  std::wstring segment3;
  std::wstring relative;
  std::vector<std::wstring> tail;
};

/// Whether the text begins with "cloud:", in lower case.
bool IsCloudPath(std::wstring_view text) noexcept;

/// Parses an address, which needs the scheme and at least three names after it.
/// Throws std::bad_alloc only.
CloudPath ParseCloudPath(std::wstring_view text);

/// The canonical text of the root: "cloud:/" and the non-empty segments, each but
/// segment3 followed by a slash:
///
///     segments       root
///     s1  s2  s3     cloud://s1/s2/s3
///     s1  s2  -      cloud://s1/s2/
///     s1  -   s3     cloud://s1/s3
///     -   -   -      cloud://
std::wstring CloudRoot(const CloudPath& address);

}  // namespace veskard
