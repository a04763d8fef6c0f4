// A tool's output for --version.
#pragma once

#include <string>

namespace veskard {

/// "shellprobe VERSION (64-bit)", and below it the licences of the third-party code inside, where
/// the program carries them as its resource NOTICES. UTF-8, ends in a line feed. Throws
/// std::bad_alloc only.
std::string VersionText(const std::string& program);

}  // namespace veskard
