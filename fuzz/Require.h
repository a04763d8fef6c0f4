// Require: what a fuzz target demands of every input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace veskard::fuzz {

/// Ends the program when the condition does not hold: that is a finding.
inline void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "finding: %s does not hold\n", what);
  std::abort();
}

}  // namespace veskard::fuzz

#define VESKARD_REQUIRE(condition) ::veskard::fuzz::Require((condition), #condition)
