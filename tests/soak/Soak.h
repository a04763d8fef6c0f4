// Thousands of rounds of one thing in one process. At the end the process holds what it held
// at the start.
#pragma once

#include <functional>
#include <string>

namespace veskard::test {

/// Rounds, 500 or as many as VESKARD_SOAK says, after some that warm up. Prints what the
/// process holds as a Markdown table, `what` in its corner; the test fails where that grows.
void ExpectFlat(const std::string& what, const std::function<void(int round)>& round);

/// Writes the switch of the log, which takes effect with the next object: on for one block of
/// rounds in twenty, since the log waits for the disk.
void SwitchLogFor(int round);

}  // namespace veskard::test
